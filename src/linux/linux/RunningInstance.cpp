// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/RunningInstance.h>

#include <base/Print.h>
#include <linux/ApplicationName.h>
#include <linux/BusValues.h>
#include <linux/ProgramStart.h>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusReply>
#include <QString>
#include <QStringList>
#include <QVariantList>
#include <QVariantMap>

#include <chrono>
#include <thread>
#include <utility>

namespace velmor {

namespace {

/// A start may have to wait for a sound server.
constexpr int answerMilliseconds = 25000;

constexpr int startChecks = 500;
constexpr auto startCheckInterval = std::chrono::milliseconds(20);

QDBusMessage call(const char* method)
{
    return QDBusMessage::createMethodCall(qText(ApplicationName::busName), qText(ApplicationName::objectPath),
                                          qText(ApplicationName::interface), QString::fromLatin1(method));
}

/// Who has the name; empty where nobody has.
QString owner()
{
    return QDBusConnection::sessionBus().interface()->serviceOwner(qText(ApplicationName::busName)).value();
}

/// Starts the program and waits until others find it.
bool start(const std::filesystem::path& program)
{
    if (!startProgram({program.native()}))
        return false;
    for (int i = 0; i < startChecks; ++i) {
        if (!owner().isEmpty())
            return true;
        std::this_thread::sleep_for(startCheckInterval);
    }
    return false;
}

bool isArrived(const QDBusMessage& message, const std::filesystem::path& program)
{
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        printLine("no session bus: {}", text(bus.lastError().message()));
        return false;
    }
    const QString first = owner();
    QDBusMessage reply = bus.call(message, QDBus::Block, answerMilliseconds);
    // One that was just ending has not taken it.
    const bool isEnding = reply.errorName() == qText(ApplicationName::endingError);
    const bool hasEnded = QDBusError(reply).type() == QDBusError::NoReply && owner() != first;
    if (isEnding || hasEnded)
        reply = bus.call(message, QDBus::Block, answerMilliseconds);
    if (QDBusError(reply).type() == QDBusError::ServiceUnknown && start(program))
        reply = bus.call(message, QDBus::Block, answerMilliseconds);
    if (reply.type() == QDBusMessage::ReplyMessage)
        return true;
    printLine("the running instance can't be reached: {}", text(reply.errorMessage()));
    return false;
}

} // namespace

RunningInstance::RunningInstance(std::filesystem::path program)
    : m_program(std::move(program))
{}

bool RunningInstance::open(const std::vector<std::string>& urls) const
{
    QStringList list;
    for (const std::string& url : urls)
        list.push_back(qText(url));
    return isArrived(call("Open") << list << QVariantMap(), m_program);
}

bool RunningInstance::activateAction(const std::string& action) const
{
    return isArrived(call("ActivateAction") << qText(action) << QVariantList() << QVariantMap(), m_program);
}

} // namespace velmor
