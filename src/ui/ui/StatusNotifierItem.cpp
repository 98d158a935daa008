// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/StatusNotifierItem.h>

#include <QByteArray>
#include <QCoreApplication>
#include <QDBusAbstractAdaptor>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QFile>
#include <QtEndian>

#include <utility>

namespace velmor {

/// A picture as it travels: (iiay), each pixel in the order of the network, alpha first.
struct TrayPixmap
{
    int width = 0;
    int height = 0;
    QByteArray pixels;
};

/// (sa(iiay)ss)
struct BusToolTip
{
    QString icon;
    QList<TrayPixmap> pictures;
    QString title;
    QString text;
};

} // namespace velmor

Q_DECLARE_METATYPE(velmor::TrayPixmap)
Q_DECLARE_METATYPE(velmor::BusToolTip)

namespace velmor {

QDBusArgument& operator<<(QDBusArgument& argument, const TrayPixmap& pixmap)
{
    argument.beginStructure();
    argument << pixmap.width << pixmap.height << pixmap.pixels;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, TrayPixmap& pixmap)
{
    argument.beginStructure();
    argument >> pixmap.width >> pixmap.height >> pixmap.pixels;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const BusToolTip& toolTip)
{
    argument.beginStructure();
    argument << toolTip.icon << toolTip.pictures << toolTip.title << toolTip.text;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, BusToolTip& toolTip)
{
    argument.beginStructure();
    argument >> toolTip.icon >> toolTip.pictures >> toolTip.title >> toolTip.text;
    argument.endStructure();
    return argument;
}

namespace {

constexpr auto watcherService = "org.kde.StatusNotifierWatcher";
constexpr auto watcherPath = "/StatusNotifierWatcher";
constexpr auto itemPath = "/StatusNotifierItem";

/// A host that has just started reads the item, but draws it only after the next sign of life.
constexpr int againMilliseconds = 1500;

QString name(const char* text)
{
    return QString::fromLatin1(text);
}

/// Whoever else has the name keeps it.
constexpr uint nameFlagDoNotQueue = 4;

/// A call to the bus itself. Qt's own calls for names wait for an answer.
QDBusMessage busCall(const char* member, const QVariantList& arguments)
{
    QDBusMessage call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"),
                                                       QStringLiteral("/org/freedesktop/DBus"),
                                                       QStringLiteral("org.freedesktop.DBus"), name(member));
    call.setArguments(arguments);
    return call;
}

TrayPixmap travelling(const QImage& picture)
{
    const QImage image = picture.convertToFormat(QImage::Format_ARGB32);
    TrayPixmap pixmap = {image.width(), image.height(), {}};
    pixmap.pixels.reserve(image.width() * image.height() * 4);
    for (int y = 0; y < image.height(); ++y) {
        const QRgb* const line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const quint32 pixel = qToBigEndian<quint32>(line[x]);
            pixmap.pixels.append(reinterpret_cast<const char*>(&pixel), sizeof pixel);
        }
    }
    return pixmap;
}

QList<TrayPixmap> travelling(const QList<QImage>& pictures)
{
    QList<TrayPixmap> pixmaps;
    for (const QImage& picture : pictures)
        pixmaps.append(travelling(picture));
    return pixmaps;
}

/// The name of a process, as its main thread has it.
std::string programOf(uint process)
{
    QFile file(QStringLiteral("/proc/%1/comm").arg(process));
    return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed().toStdString() : std::string();
}

} // namespace

class StatusNotifierItem::Adaptor final : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierItem")
    Q_PROPERTY(QString Category READ category)
    Q_PROPERTY(QString Id READ id)
    Q_PROPERTY(QString Title READ title)
    Q_PROPERTY(QString Status READ status)
    Q_PROPERTY(int WindowId READ windowId)
    Q_PROPERTY(QString IconName READ iconName)
    Q_PROPERTY(QList<velmor::TrayPixmap> IconPixmap READ iconPixmap)
    Q_PROPERTY(QString OverlayIconName READ iconName)
    Q_PROPERTY(QString AttentionIconName READ iconName)
    Q_PROPERTY(velmor::BusToolTip ToolTip READ toolTip)
    Q_PROPERTY(bool ItemIsMenu READ itemIsMenu)
    Q_PROPERTY(QDBusObjectPath Menu READ menu)
    Q_PROPERTY(QString XAyatanaLabel READ label)
    Q_PROPERTY(QString XAyatanaLabelGuide READ labelGuide)

public:
    explicit Adaptor(StatusNotifierItem& item)
        : QDBusAbstractAdaptor(&item)
        , m_item(item)
    {}

    QString category() const { return QStringLiteral("ApplicationStatus"); }
    QString id() const { return QStringLiteral("velmor"); }
    QString title() const { return QStringLiteral("Velmor"); }
    QString status() const { return QStringLiteral("Active"); }
    int windowId() const { return 0; }
    QString iconName() const { return {}; }
    QList<TrayPixmap> iconPixmap() const { return travelling(m_item.m_face.pictures); }
    BusToolTip toolTip() const
    {
        // Most hosts take the text for markup.
        const TrayToolTip& toolTip = m_item.m_face.toolTip;
        return {{},
                {},
                QString::fromStdString(toolTip.title),
                QString::fromStdString(toolTip.text).toHtmlEscaped()};
    }
    bool itemIsMenu() const { return false; }
    QDBusObjectPath menu() const { return QDBusObjectPath(name(TrayMenu::objectPath)); }
    QString label() const { return m_item.m_face.label; }
    QString labelGuide() const { return QStringLiteral("100.0"); }

public slots:
    void Activate(int x, int y) { m_item.m_callbacks.onActivate({x, y}); }
    void SecondaryActivate(int x, int y) { Activate(x, y); }
    void ContextMenu(int, int) {}
    void Scroll(int, const QString&) {}
    void XAyatanaSecondaryActivate(uint) { Activate(0, 0); }

    // What the click allows: to bring a window to the front.
    void ProvideXdgActivationToken(const QString& token)
    {
        // All that is started gets it: what is longer than a token is none.
        constexpr qsizetype longestToken = 1024;
        if (!token.isEmpty() && token.size() <= longestToken)
            qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8());
    }

signals:
    void NewTitle();
    void NewIcon();
    void NewAttentionIcon();
    void NewOverlayIcon();
    void NewToolTip();
    void NewStatus(const QString& status);
    void XAyatanaNewLabel(const QString& label, const QString& guide);

private:
    StatusNotifierItem& m_item;
};

StatusNotifierItem::StatusNotifierItem(Callbacks callbacks)
    : m_callbacks(std::move(callbacks))
    , m_service(QStringLiteral("org.kde.StatusNotifierItem-%1-1").arg(QCoreApplication::applicationPid()))
{
    qDBusRegisterMetaType<TrayPixmap>();
    qDBusRegisterMetaType<QList<TrayPixmap>>();
    qDBusRegisterMetaType<BusToolTip>();
    m_adaptor = new Adaptor(*this);
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.registerObject(name(itemPath), this);
    bus.send(busCall("RequestName", {m_service, nameFlagDoNotQueue}));
    auto* const watch =
        new QDBusServiceWatcher(name(watcherService), bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(watch, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& owner) {
                if (owner.isEmpty()) {
                    ++m_generation;
                    hostsChanged(false);
                } else {
                    registerWithHosts();
                }
            });
    m_again.setSingleShot(true);
    connect(&m_again, &QTimer::timeout, this, [this] {
        emit m_adaptor->NewIcon();
        emit m_adaptor->NewStatus(m_adaptor->status());
    });
    registerWithHosts();
}

StatusNotifierItem::~StatusNotifierItem()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.send(busCall("ReleaseName", {m_service}));
    bus.unregisterObject(name(itemPath));
}

void StatusNotifierItem::registerWithHosts()
{
    ++m_generation;
    if (!QDBusConnection::sessionBus().isConnected()) {
        QTimer::singleShot(0, this, [this] { hostsChanged(false); });
        return;
    }
    QDBusMessage call =
        QDBusMessage::createMethodCall(name(watcherService), name(watcherPath), name(watcherService),
                                       QStringLiteral("RegisterStatusNotifierItem"));
    call << m_service;
    auto* const watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, generation = m_generation](QDBusPendingCallWatcher* finished) {
                finished->deleteLater();
                // A host that has gone since is no news.
                if (generation != m_generation)
                    return;
                if (finished->isError())
                    hostsChanged(false);
                else
                    lookAtHosts();
            });
}

/// Whoever gathers the items is whoever shows them, on all desktops that were met.
void StatusNotifierItem::lookAtHosts()
{
    const QDBusMessage call = busCall("GetConnectionUnixProcessID", {name(watcherService)});
    auto* const watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, generation = m_generation](QDBusPendingCallWatcher* finished) {
                finished->deleteLater();
                if (generation != m_generation)
                    return;
                const QDBusPendingReply<uint> reply = *finished;
                m_hostProgram = reply.isError() ? std::string() : programOf(reply.value());
                hostsChanged(true);
            });
}

void StatusNotifierItem::hostsChanged(bool hasHost)
{
    m_hasHost = hasHost;
    if (hasHost)
        m_again.start(againMilliseconds);
    else
        m_hostProgram.clear();
    m_callbacks.onHostChange();
}

void StatusNotifierItem::show(const TrayFace& face)
{
    const bool isNewPicture = face.pictures != m_face.pictures;
    const bool isNewLabel = face.label != m_face.label;
    const bool isNewToolTip = face.toolTip != m_face.toolTip;
    m_face = face;
    if (isNewPicture)
        emit m_adaptor->NewIcon();
    if (isNewLabel)
        emit m_adaptor->XAyatanaNewLabel(face.label, m_adaptor->labelGuide());
    if (isNewToolTip)
        emit m_adaptor->NewToolTip();
}

} // namespace velmor

#include "StatusNotifierItem.moc"
