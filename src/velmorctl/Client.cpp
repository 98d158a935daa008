// SPDX-License-Identifier: GPL-3.0-or-later
#include "Client.h"

#include <linux/ApplicationName.h>

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QStringList>
#include <QXmlStreamReader>

#include <array>
#include <utility>

namespace velmor {

namespace {

constexpr int answerMilliseconds = 25000;
constexpr const char* liveInterface = "dev.brightfen.velmor.Live1";

struct NamedError
{
    const char* name;
    ExitStatus status;
};

constexpr std::array namedErrors = {
    NamedError{"dev.brightfen.velmor.Error.InvalidArgument", ExitStatus::invalidArgument},
    NamedError{"dev.brightfen.velmor.Error.AppNotReady", ExitStatus::appNotReady},
    NamedError{"dev.brightfen.velmor.Error.MonitoringUnavailable", ExitStatus::monitoringUnavailable},
    NamedError{"dev.brightfen.velmor.Error.SessionAlreadyActive", ExitStatus::sessionAlreadyActive},
    NamedError{"dev.brightfen.velmor.Error.SessionNotActive", ExitStatus::sessionNotActive},
    NamedError{"org.freedesktop.DBus.Error.ServiceUnknown", ExitStatus::appNotReady},
    NamedError{"org.freedesktop.DBus.Error.NoReply", ExitStatus::appNotReady},
    NamedError{"org.freedesktop.DBus.Error.Disconnected", ExitStatus::appNotReady},
    NamedError{"org.freedesktop.DBus.Error.NameHasNoOwner", ExitStatus::appNotReady},
    NamedError{"org.freedesktop.DBus.Error.Timeout", ExitStatus::appNotReady},
    NamedError{"org.freedesktop.DBus.Error.TimedOut", ExitStatus::appNotReady},
};

QDBusMessage message(const char* interface, const char* method)
{
    return QDBusMessage::createMethodCall(QString::fromLatin1(ApplicationName::busName),
                                          QString::fromLatin1(ApplicationName::objectPath),
                                          QString::fromLatin1(interface), QString::fromLatin1(method));
}

Answer failure(const QDBusMessage& reply)
{
    if (reply.errorName() == QStringLiteral("org.freedesktop.DBus.Error.ServiceUnknown"))
        return {ExitStatus::appNotReady, "Velmor isn't running.", {}};
    Answer answer = {ExitStatus::failed, reply.errorMessage().toStdString(), {}};
    // An instance that the bus could not start.
    if (reply.errorName().startsWith(QStringLiteral("org.freedesktop.DBus.Error.Spawn.")))
        answer.status = ExitStatus::appNotReady;
    for (const NamedError& error : namedErrors) {
        if (reply.errorName() == QString::fromLatin1(error.name))
            answer.status = error.status;
    }
    return answer;
}

/// The names of what a method gives back, in a description of its object.
QStringList resultNames(const Method& method, const QString& description)
{
    QStringList names;
    QXmlStreamReader xml(description);
    QString interface;
    QString member;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        const auto named = xml.attributes().value(QStringLiteral("name")).toString();
        if (xml.name() == QStringLiteral("interface"))
            interface = named;
        else if (xml.name() == QStringLiteral("method") || xml.name() == QStringLiteral("signal"))
            member = named;
        else if (xml.name() == QStringLiteral("arg") && interface == QString::fromLatin1(method.interface) &&
                 member == QString::fromLatin1(method.name) &&
                 xml.attributes().value(QStringLiteral("direction")) == QStringLiteral("out"))
            names.push_back(named);
    }
    return names;
}

class Listener final : public QObject
{
    Q_OBJECT

public:
    explicit Listener(const std::function<void(const QVariantMap&)>& onLevels)
        : m_onLevels(onLevels)
    {}

public slots:
    void levels(const QVariantMap& values) { m_onLevels(values); }

private:
    const std::function<void(const QVariantMap&)>& m_onLevels;
};

} // namespace

QVariant unpacked(const QVariant& value)
{
    if (!value.canConvert<QDBusArgument>())
        return value;
    const auto argument = value.value<QDBusArgument>();
    const QString signature = argument.currentSignature();
    if (signature == QStringLiteral("a{sv}"))
        return qdbus_cast<QVariantMap>(argument);
    if (signature == QStringLiteral("aa{sv}")) {
        QVariantList list;
        for (const QVariantMap& row : qdbus_cast<QList<QVariantMap>>(argument))
            list.push_back(row);
        return list;
    }
    if (signature == QStringLiteral("ax")) {
        QVariantList list;
        for (const qlonglong number : qdbus_cast<QList<qlonglong>>(argument))
            list.push_back(number);
        return list;
    }
    return {};
}

Answer call(const Method& method, const QVariantList& arguments)
{
    const QDBusConnection bus = QDBusConnection::sessionBus();
    // First: an instance that ends in between leaves no answer without its names.
    const QDBusMessage description = bus.call(message("org.freedesktop.DBus.Introspectable", "Introspect"),
                                              QDBus::Block, answerMilliseconds);
    if (description.type() != QDBusMessage::ReplyMessage)
        return failure(description);
    QDBusMessage request = message(method.interface, method.name);
    request.setArguments(arguments);
    const QDBusMessage reply = bus.call(request, QDBus::Block, answerMilliseconds);
    if (reply.type() != QDBusMessage::ReplyMessage)
        return failure(reply);
    const QStringList names = resultNames(method, description.arguments().value(0).toString());
    const QVariantList values = reply.arguments();
    if (values.size() != names.size())
        return {ExitStatus::failed, "The running Velmor is of another version.", {}};
    Answer answer;
    for (qsizetype i = 0; i < values.size(); ++i)
        answer.results.insert(names[i], unpacked(values[i]));
    return answer;
}

Answer followLevels(const std::function<void(const QVariantMap&)>& onLevels)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    Listener listener(onLevels);
    bus.connect(QString::fromLatin1(ApplicationName::busName),
                QString::fromLatin1(ApplicationName::objectPath), QString::fromLatin1(liveInterface),
                QStringLiteral("Levels"), &listener, SLOT(levels(QVariantMap)));
    const QDBusServiceWatcher watcher(QString::fromLatin1(ApplicationName::busName), bus,
                                      QDBusServiceWatcher::WatchForUnregistration);
    QObject::connect(&watcher, &QDBusServiceWatcher::serviceUnregistered, &listener,
                     [] { QCoreApplication::quit(); });
    bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), qApp,
                SLOT(quit()));
    const QDBusMessage reply =
        bus.call(message(liveInterface, "Subscribe"), QDBus::Block, answerMilliseconds);
    if (reply.type() != QDBusMessage::ReplyMessage)
        return failure(reply);
    QCoreApplication::exec();
    return {ExitStatus::appNotReady, "Velmor has ended.", {}};
}

} // namespace velmor

#include "Client.moc"
