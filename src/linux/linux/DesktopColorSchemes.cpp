// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/DesktopColorSchemes.h>

#include <linux/CurrentDesktop.h>
#include <linux/InterfaceSettings.h>
#include <linux/KeyFile.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QFileSystemWatcher>
#include <QLatin1String>
#include <QMetaType>
#include <QObject>
#include <QString>
#include <QStringList>

#include <boost/signals2/signal.hpp>

#include <algorithm>
#include <cctype>
#include <string>

namespace velmor {

namespace {

const QString xfconf = QStringLiteral("org.xfce.Xfconf");
const QString xfconfPath = QStringLiteral("/org/xfce/Xfconf");
const QString themeChannel = QStringLiteral("xsettings");
const QString themeProperty = QStringLiteral("/Net/ThemeName");
const QString panelChannel = QStringLiteral("xfce4-panel");
const QString panelProperty = QStringLiteral("/panels/dark-mode");
constexpr QLatin1String lxqtFile("lxqt.conf");

/// Themes say it in their name.
bool isDarkTheme(std::string name)
{
    std::ranges::transform(name, name.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return name.find("dark") != std::string::npos;
}

} // namespace

class DesktopColorSchemes::Sources final : public QObject
{
    Q_OBJECT

public:
    explicit Sources(const std::filesystem::path& configuration)
        : m_interface([this] { changed(); })
    {
        if (isCurrentDesktop("LXQt"))
            followLxqt(configuration);
        if (!isCurrentDesktop("XFCE"))
            return;
        QDBusConnection bus = QDBusConnection::sessionBus();
        // A slot is looked for by the names of its types; this one's is not known by itself.
        qRegisterMetaType<QDBusVariant>();
        bus.connect(xfconf, xfconfPath, xfconf, QStringLiteral("PropertyChanged"), this,
                    SLOT(xfceChanged(QString, QString, QDBusVariant)));
        bus.connect(xfconf, xfconfPath, xfconf, QStringLiteral("PropertyRemoved"), this,
                    SLOT(xfceRemoved(QString, QString)));
        connect(&m_xfconfWatcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
                [this](const QString&, const QString&, const QString& owner) {
                    if (!owner.isEmpty())
                        askXfce();
                });
        askXfce();
    }

    std::optional<bool> areWindowsDark() const
    {
        if (isCurrentDesktop("KDE"))
            return std::nullopt;
        if (m_xfceThemeIsDark)
            return m_xfceThemeIsDark;
        return m_lxqtIsDark ? m_lxqtIsDark : m_interface.prefersDark();
    }

    std::optional<bool> arePanelsDark() const
    {
        // Xfce's panel can be dark under a light theme, GNOME's always is.
        if (m_xfcePanelIsDark && *m_xfcePanelIsDark)
            return true;
        if (isCurrentDesktop("GNOME"))
            return true;
        return areWindowsDark();
    }

    boost::signals2::signal<void()> changed;

private slots:
    void xfceChanged(const QString& channel, const QString& property, const QDBusVariant& value)
    {
        take(channel, property, value);
    }

    void xfceRemoved(const QString& channel, const QString& property)
    {
        take(channel, property, std::nullopt);
    }

private:
    void followLxqt(const std::filesystem::path& configuration)
    {
        const std::filesystem::path folder = configuration / "lxqt";
        // Its file is replaced by a new one, by some writers written in place; at first there is none.
        QStringList paths;
        for (const auto& path : {configuration, folder, folder / lxqtFile.latin1()})
            paths.append(QString::fromStdString(path.native()));
        readLxqt(folder);
        m_lxqtFiles.addPaths(paths);
        const auto followFile = [this, folder, paths] {
            m_lxqtFiles.addPaths(paths);
            const std::optional<bool> before = m_lxqtIsDark;
            readLxqt(folder);
            if (m_lxqtIsDark != before)
                changed();
        };
        connect(&m_lxqtFiles, &QFileSystemWatcher::directoryChanged, this, followFile);
        connect(&m_lxqtFiles, &QFileSystemWatcher::fileChanged, this, followFile);
    }

    void readLxqt(const std::filesystem::path& folder)
    {
        const auto file = KeyFile::read(folder / lxqtFile.latin1());
        const auto theme = file ? file->text("General", "theme") : std::nullopt;
        m_lxqtIsDark = theme ? std::optional(isDarkTheme(*theme)) : std::nullopt;
    }

    void askXfce()
    {
        ask(themeChannel, themeProperty);
        ask(panelChannel, panelProperty);
    }

    /// Nobody is started for a question.
    void ask(const QString& channel, const QString& property)
    {
        QDBusMessage get =
            QDBusMessage::createMethodCall(xfconf, xfconfPath, xfconf, QStringLiteral("GetProperty"));
        get << channel << property;
        get.setAutoStartService(false);
        auto* const watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(get), this);
        connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, channel, property, watcher] {
            const QDBusPendingReply<QDBusVariant> reply = *watcher;
            watcher->deleteLater();
            if (!reply.isError())
                take(channel, property, reply.value());
        });
    }

    /// \param value absent for a property that is gone.
    void take(const QString& channel, const QString& property, const std::optional<QDBusVariant>& value)
    {
        if (channel == themeChannel && property == themeProperty) {
            m_xfceThemeIsDark.reset();
            if (value)
                m_xfceThemeIsDark = isDarkTheme(value->variant().toString().toStdString());
        } else if (channel == panelChannel && property == panelProperty) {
            m_xfcePanelIsDark.reset();
            if (value)
                m_xfcePanelIsDark = value->variant().toBool();
        } else {
            return;
        }
        changed();
    }

    InterfaceSettings m_interface;
    QFileSystemWatcher m_lxqtFiles;
    QDBusServiceWatcher m_xfconfWatcher{xfconf, QDBusConnection::sessionBus(),
                                        QDBusServiceWatcher::WatchForOwnerChange};
    std::optional<bool> m_lxqtIsDark;
    std::optional<bool> m_xfceThemeIsDark;
    std::optional<bool> m_xfcePanelIsDark;
};

DesktopColorSchemes::DesktopColorSchemes(const std::filesystem::path& configuration)
    : m_sources(std::make_unique<Sources>(configuration))
{}

DesktopColorSchemes::~DesktopColorSchemes() = default;

std::optional<bool> DesktopColorSchemes::areWindowsDark() const
{
    return m_sources->areWindowsDark();
}

std::optional<bool> DesktopColorSchemes::arePanelsDark() const
{
    return m_sources->arePanelsDark();
}

Subscription DesktopColorSchemes::onChange(const std::function<void()>& callback)
{
    return m_sources->changed.connect(callback);
}

} // namespace velmor

#include "DesktopColorSchemes.moc"
