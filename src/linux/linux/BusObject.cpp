// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/BusObject.h>

#include <linux/BusValues.h>

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusVirtualObject>

#include <fmt/format.h>

#include <algorithm>
#include <exception>
#include <utility>

namespace velmor {

namespace {

constexpr std::string_view propertiesInterface = "org.freedesktop.DBus.Properties";

std::string described(const std::vector<BusArgument>& arguments, std::string_view direction)
{
    std::string xml;
    for (const BusArgument& argument : arguments) {
        xml += fmt::format("      <arg name=\"{}\" type=\"{}\"", argument.name, argument.type);
        xml += direction.empty() ? "/>\n" : fmt::format(" direction=\"{}\"/>\n", direction);
    }
    return xml;
}

std::string described(const BusInterface& interface)
{
    std::string xml = fmt::format("  <interface name=\"{}\">\n", interface.name);
    for (const BusMethod& method : interface.methods) {
        xml += fmt::format("    <method name=\"{}\">\n{}{}    </method>\n", method.name,
                           described(method.in, "in"), described(method.out, "out"));
    }
    for (const BusSignal& signal : interface.busSignals) {
        xml += fmt::format("    <signal name=\"{}\">\n{}    </signal>\n", signal.name,
                           described(signal.arguments, ""));
    }
    return xml + "  </interface>\n";
}

std::string signatureOf(const std::vector<BusArgument>& arguments)
{
    std::string signature;
    for (const BusArgument& argument : arguments)
        signature += argument.type;
    return signature;
}

} // namespace

class BusObject::Service final : public QDBusVirtualObject
{
    Q_OBJECT

public:
    explicit Service(const std::string& path)
        : m_path(qText(path))
    {
        registerBusTypes();
        // The one node: other objects may lie below.
        QDBusConnection::sessionBus().registerVirtualObject(m_path, this, QDBusConnection::SingleNode);
    }

    ~Service() override { QDBusConnection::sessionBus().unregisterObject(m_path); }

    void offer(BusInterface interface) { m_interfaces.push_back(std::move(interface)); }

    QString introspect(const QString& path) const override
    {
        if (path != m_path)
            return {};
        std::string xml;
        for (const BusInterface& interface : m_interfaces)
            xml += described(interface);
        return qText(xml);
    }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
    {
        if (message.type() != QDBusMessage::MethodCallMessage || message.path() != m_path)
            return false;
        if (text(message.interface()) == propertiesInterface)
            return answerAboutProperties(message, connection);
        const BusMethod* method = methodFor(message);
        if (!method)
            return false;
        const QDBusMessage reply = answer(*method, message);
        if (message.isReplyRequired())
            connection.send(reply);
        return true;
    }

    void emitSignal(std::string_view interface, std::string_view name, const BusValues& values) const
    {
        QDBusMessage signal = QDBusMessage::createSignal(m_path, qText(interface), qText(name));
        for (const BusValue& value : values)
            signal << variantFrom(value);
        QDBusConnection::sessionBus().send(signal);
    }

    const std::string& caller() const { return m_caller; }

private:
    // There are none, and whoever looks at an object asks for them.
    static bool answerAboutProperties(const QDBusMessage& message, const QDBusConnection& connection)
    {
        if (message.member() != QStringLiteral("GetAll"))
            return false;
        if (message.isReplyRequired())
            connection.send(message.createReply(QVariantMap()));
        return true;
    }

    const BusMethod* methodFor(const QDBusMessage& message) const
    {
        const std::string interfaceName = text(message.interface());
        for (const BusInterface& interface : m_interfaces) {
            // A call may leave the interface out.
            if (!interfaceName.empty() && interface.name != interfaceName)
                continue;
            const auto method =
                std::ranges::find(interface.methods, text(message.member()), &BusMethod::name);
            if (method != interface.methods.end())
                return &*method;
        }
        return nullptr;
    }

    QDBusMessage answer(const BusMethod& method, const QDBusMessage& message)
    {
        const std::string signature = signatureOf(method.in);
        if (text(message.signature()) != signature) {
            return message.createErrorReply(QDBusError::InvalidArgs,
                                            qText(fmt::format("{} takes ({}), not ({})", method.name,
                                                              signature, text(message.signature()))));
        }
        m_caller = text(message.service());
        try {
            BusValues arguments;
            for (const QVariant& argument : message.arguments())
                arguments.push_back(valueFrom(argument));
            QVariantList results;
            for (const BusValue& result : method.call(arguments))
                results.push_back(variantFrom(result));
            return message.createReply(results);
        } catch (const BusError& error) {
            return message.createErrorReply(qText(error.name()), QString::fromUtf8(error.what()));
        } catch (const std::exception& error) {
            return message.createErrorReply(QDBusError::Failed, QString::fromUtf8(error.what()));
        }
    }

    QString m_path;
    std::vector<BusInterface> m_interfaces;
    std::string m_caller;
};

BusObject::BusObject(const std::string& path)
    : m_service(std::make_unique<Service>(path))
{}

BusObject::~BusObject() = default;

void BusObject::offer(BusInterface interface)
{
    m_service->offer(std::move(interface));
}

void BusObject::emitSignal(std::string_view interface, std::string_view name, const BusValues& values)
{
    m_service->emitSignal(interface, name, values);
}

const std::string& BusObject::caller() const
{
    return m_service->caller();
}

} // namespace velmor

#include "BusObject.moc"
