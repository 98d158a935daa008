// SPDX-License-Identifier: GPL-3.0-or-later
// A call on the session bus, with any values, to anything that the program offers there: its own interfaces,
// those of the desktop's searches, the tray's menu. Each is answered, with the values it promises or with an
// error of a name that is documented, and nothing but the session and the pause changes.
#include <app/AutomationInterfaces.h>
#include <app/IntentActions.h>
#include <app/ShortcutSearch.h>
#include <base/Print.h>
#include <linux/ApplicationInstance.h>
#include <linux/ApplicationName.h>
#include <linux/LevelStream.h>
#include <linux/SearchService.h>
#include <support/HubHost.h>
#include <ui/TrayMenu.h>

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QProcess>
#include <QXmlStreamReader>

#include <algorithm>
#include <bit>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <sys/prctl.h>

#include <fuzzer/FuzzedDataProvider.h>

namespace velmor {
namespace {

constexpr int answerMilliseconds = 5000;
constexpr int deepestValue = 3;

void require(bool holds)
{
    if (!holds)
        std::abort();
}

/// A bus of its own, which ends with the program.
struct Bus
{
    Bus()
    {
        daemon.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
        daemon.start(QStringLiteral("dbus-daemon"), {QStringLiteral("--session"), QStringLiteral("--nofork"),
                                                     QStringLiteral("--print-address")});
        require(daemon.waitForReadyRead());
        qputenv("DBUS_SESSION_BUS_ADDRESS", daemon.readLine().trimmed());
    }

    QProcess daemon;
};

struct SilentLog final : SystemLog
{
    void log(std::string_view, std::string_view, std::string_view) override {}
};

/// A method as an object describes it.
struct Method
{
    QString path;
    QString interface;
    QString name;
    QStringList in;
    QString out;
};

QDBusMessage answerTo(const QDBusConnection& caller, const QDBusMessage& call)
{
    const QDBusPendingCallWatcher watcher(caller.asyncCall(call, answerMilliseconds));
    while (!watcher.isFinished())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    return watcher.reply();
}

QDBusMessage callTo(const QString& path, const QString& interface, const QString& member)
{
    return QDBusMessage::createMethodCall(QString::fromLatin1(ApplicationName::busName), path, interface,
                                          member);
}

/// The program behind its bus name, and somebody who calls it. Made once; each input leaves it as it was.
struct Program
{
    Program()
    {
        support.registerAppState(hub);
        instance.object().offer(AutomationInterfaces::intents(support));
        instance.object().offer(AutomationInterfaces::focusFilter(support, filter));
        menu.show({{1, "Open", [] {}, {}},
                   {2, "", [] {}, {}},
                   {3, "Pause", [] {}, {{4, "15 minutes", [] {}, {}}}}});
        require(instance.role() == ApplicationInstance::Role::first);
        for (const char* path : {ApplicationName::objectPath, "/dev/brightfen/velmor/search",
                                 "/dev/brightfen/velmor/runner", TrayMenu::objectPath})
            learn(QString::fromLatin1(path));
        require(methods.size() > 30);
    }

    /// What the object says it has.
    void learn(const QString& path)
    {
        const QDBusMessage answer =
            answerTo(caller, callTo(path, QStringLiteral("org.freedesktop.DBus.Introspectable"),
                                    QStringLiteral("Introspect")));
        require(answer.type() == QDBusMessage::ReplyMessage);
        QXmlStreamReader xml(answer.arguments().at(0).toString());
        QString interface;
        bool isMethod = false;
        while (!xml.atEnd()) {
            if (xml.readNext() != QXmlStreamReader::StartElement)
                continue;
            const QXmlStreamAttributes attributes = xml.attributes();
            const QString called = attributes.value(QStringLiteral("name")).toString();
            if (xml.name() == QLatin1String("interface")) {
                interface = called;
            } else if (xml.name() == QLatin1String("arg") && isMethod) {
                const QString type = attributes.value(QStringLiteral("type")).toString();
                if (attributes.value(QStringLiteral("direction")) == QLatin1String("out"))
                    methods.back().out += type;
                else
                    methods.back().in += type;
            } else if (xml.name() != QLatin1String("annotation")) {
                isMethod = xml.name() == QLatin1String("method");
                if (isMethod)
                    methods.push_back({path, interface, called, {}, {}});
            }
        }
        require(!xml.hasError());
    }

    void restore()
    {
        // The figures of a call that ends after its answer.
        QCoreApplication::processEvents();
        if (hub.sessionManager.currentSession.get())
            hub.endSession();
        hub.pauseService.resume();
        host.loop.runPosted();
        hub.sessionManager.sessionHistory = {};
        host.notifications.requests.clear();
        host.notifications.calls.clear();
        host.audio.engines.clear();
    }

    int argumentCount = 1;
    std::string name = "velmor";
    char* arguments[2] = {name.data(), nullptr};
    QCoreApplication application{argumentCount, arguments};
    Bus bus;
    test::HubHost host;
    AppState hub{host.host()};
    VelmorIntentSupport support;
    SilentLog log;
    VelmorSessionFocusFilter filter{support, log};
    IntentActions actions{support, host.notifications};
    ShortcutSearch search{support, actions};
    ApplicationInstance instance{{.onActivate = [] {},
                                  .onAction = [this](const std::string& action) { actions.perform(action); },
                                  .onBusLost = [] {}}};
    LevelStream levelStream{host.loop, instance.object(),
                            [this] { return AutomationInterfaces::levels(support); }};
    SearchService searchService{search};
    TrayMenu menu;
    QDBusConnection caller =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("caller"));
    std::vector<Method> methods;
};

QString anyText(FuzzedDataProvider& data)
{
    // The bus carries no other: a text with a zero in it ends the sender's connection.
    return QString::fromStdString(data.ConsumeRandomLengthString(200)).remove(QChar(u'\0'));
}

QStringList anyTexts(FuzzedDataProvider& data)
{
    QStringList texts;
    while (data.ConsumeBool() && data.remaining_bytes() > 0)
        texts.push_back(anyText(data));
    return texts;
}

QVariant anyValue(FuzzedDataProvider& data, int depth = 0);

QVariantMap anyDictionary(FuzzedDataProvider& data, int depth)
{
    QVariantMap dictionary;
    while (depth < deepestValue && data.ConsumeBool() && data.remaining_bytes() > 0)
        dictionary.insert(anyText(data), anyValue(data, depth + 1));
    return dictionary;
}

QVariant anyList(FuzzedDataProvider& data, int depth)
{
    QVariantList list;
    while (depth < deepestValue && data.ConsumeBool() && data.remaining_bytes() > 0)
        list.push_back(QVariant::fromValue(QDBusVariant(anyValue(data, depth + 1))));
    return list;
}

QVariant anyNumbers(FuzzedDataProvider& data)
{
    QList<int> numbers;
    while (data.ConsumeBool() && data.remaining_bytes() > 0)
        numbers.push_back(data.ConsumeIntegral<int>());
    return QVariant::fromValue(numbers);
}

/// A value of any type.
QVariant anyValue(FuzzedDataProvider& data, int depth)
{
    switch (data.ConsumeIntegralInRange(0, 12)) {
    case 0:
        return data.ConsumeBool();
    case 1:
        return data.ConsumeIntegral<int>();
    case 2:
        return data.ConsumeIntegral<uint>();
    case 3:
        return QVariant::fromValue<qlonglong>(data.ConsumeIntegral<qlonglong>());
    case 4:
        return QVariant::fromValue<qulonglong>(data.ConsumeIntegral<qulonglong>());
    case 5:
        return std::bit_cast<double>(data.ConsumeIntegral<std::uint64_t>());
    case 6:
        return QVariant::fromValue<ushort>(data.ConsumeIntegral<ushort>());
    case 7:
        return QByteArray::fromStdString(data.ConsumeRandomLengthString(50));
    case 8:
        return anyTexts(data);
    case 9:
        return anyDictionary(data, depth);
    case 10:
        return anyList(data, depth);
    case 11:
        return anyNumbers(data);
    default:
        return anyText(data);
    }
}

/// A value of the type; of those that only this program's own libraries can write, another one.
QVariant valueOf(const QString& type, FuzzedDataProvider& data)
{
    if (type == QLatin1String("b"))
        return data.ConsumeBool();
    if (type == QLatin1String("i"))
        return data.ConsumeIntegral<int>();
    if (type == QLatin1String("u"))
        return data.ConsumeIntegral<uint>();
    if (type == QLatin1String("x"))
        return QVariant::fromValue<qlonglong>(data.ConsumeIntegral<qlonglong>());
    if (type == QLatin1String("d"))
        return std::bit_cast<double>(data.ConsumeIntegral<std::uint64_t>());
    if (type == QLatin1String("s"))
        return anyText(data);
    if (type == QLatin1String("as"))
        return anyTexts(data);
    if (type == QLatin1String("ai"))
        return anyNumbers(data);
    if (type == QLatin1String("a{sv}"))
        return anyDictionary(data, 0);
    if (type == QLatin1String("av"))
        return anyList(data, 0);
    if (type == QLatin1String("v"))
        return QVariant::fromValue(QDBusVariant(anyValue(data)));
    return anyValue(data);
}

bool isDocumented(const std::string& error)
{
    constexpr std::string_view own = "dev.brightfen.velmor.Error.";
    constexpr std::string_view bus = "org.freedesktop.DBus.Error.";
    if (error.starts_with(own))
        return true;
    return error == std::string(bus) + "InvalidArgs" || error == std::string(bus) + "UnknownMethod" ||
           error == std::string(bus) + "UnknownInterface" || error == std::string(bus) + "UnknownProperty" ||
           error == std::string(bus) + "UnknownObject" || error == std::string(bus) + "LimitsExceeded" ||
           error == std::string(bus) + "PropertyReadOnly";
}

void callOnce(Program& program, FuzzedDataProvider& data)
{
    const Method& method =
        program.methods[data.ConsumeIntegralInRange<std::size_t>(0, program.methods.size() - 1)];
    const bool namesInterface = data.ConsumeProbability<float>() < 0.9F;
    QDBusMessage call = callTo(method.path, namesInterface ? method.interface : QString(), method.name);
    const bool isTyped = data.ConsumeProbability<float>() < 0.8F;
    if (isTyped) {
        for (const QString& type : method.in)
            call << valueOf(type, data);
    } else {
        while (data.ConsumeBool() && data.remaining_bytes() > 0)
            call << anyValue(data);
    }
    const QDBusMessage answer = answerTo(program.caller, call);
    if (answer.type() == QDBusMessage::ReplyMessage) {
        require(answer.signature() == method.out);
        return;
    }
    require(answer.type() == QDBusMessage::ErrorMessage);
    if (!isDocumented(answer.errorName().toStdString())) {
        qWarning("%s.%s: %s", qPrintable(method.interface), qPrintable(method.name),
                 qPrintable(answer.errorName()));
        std::abort();
    }
}

} // namespace
} // namespace velmor

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    using namespace velmor;
    setPrintedLines(PrintedLines::nowhere);
    // It ends with the process: its bus does not wait.
    static Program& program = *new Program;
    FuzzedDataProvider data(bytes, size);
    while (data.remaining_bytes() > 0) {
        callOnce(program, data);
        const auto& pauseUntil = program.hub.pauseService.pauseUntil.get();
        require(!pauseUntil || (program.hub.pauseService.isPaused && *pauseUntil > program.host.loop.now()));
    }
    program.restore();
    return 0;
}
