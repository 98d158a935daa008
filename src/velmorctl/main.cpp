// SPDX-License-Identifier: GPL-3.0-or-later
#include "Client.h"

#include <base/Text.h>
#include <linux/StandardStreams.h>

#include <CLI/CLI.hpp>
#include <QCoreApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>
#include <fmt/format.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <optional>
#include <string>

namespace {

using namespace velmor;

constexpr const char* intents = "dev.brightfen.velmor.Intents1";
constexpr const char* focusFilter = "dev.brightfen.velmor.FocusFilter1";

/// What the command line asks for.
struct Wanted
{
    std::function<ExitStatus()> command;
    bool isJson = false;
    std::optional<std::string> name;
    std::int64_t minutes = 0;
};

std::string json(const QVariantMap& values)
{
    return QJsonDocument(QJsonObject::fromVariantMap(values)).toJson(QJsonDocument::Compact).toStdString();
}

/// What was asked for is done, but nobody has read so.
ExitStatus unprinted()
{
    fmt::print(stderr, "velmorctl: {}\n", std::strerror(errno));
    return ExitStatus::failed;
}

/// Says in which state the command has ended, and what came of it.
ExitStatus finish(const Answer& answer, const Wanted& wanted,
                  const std::function<std::string(const QVariantMap&)>& inWords)
{
    if (answer.status != ExitStatus::done) {
        fmt::print(stderr, "velmorctl: {}\n", forTerminal(answer.error));
        return answer.status;
    }
    const std::string text = wanted.isJson ? json(answer.results) : inWords(answer.results);
    return text.empty() || writeLine(text) ? ExitStatus::done : unprinted();
}

std::string dialog(const QVariantMap& results)
{
    // A session's name is anybody's, and this may be a terminal.
    return forTerminal(results.value(QStringLiteral("dialog")).toString().toStdString());
}

std::string shortcutTable(const QVariantMap& results)
{
    std::string table;
    for (const QVariant& row : results.value(QStringLiteral("shortcuts")).toList()) {
        const QVariantMap shortcut = row.toMap();
        table += fmt::format("{}{}: {}", table.empty() ? "" : "\n",
                             shortcut.value(QStringLiteral("shortTitle")).toString().toStdString(),
                             shortcut.value(QStringLiteral("phrases"))
                                 .toStringList()
                                 .join(QStringLiteral(" / "))
                                 .toStdString());
    }
    return table;
}

std::string focusState(const QVariantMap& results)
{
    return fmt::format("{}, {}", results.value(QStringLiteral("enabled")).toBool() ? "on" : "off",
                       forTerminal(results.value(QStringLiteral("display")).toString().toStdString()));
}

/// An em dash stands for a level that isn't measured.
std::string level(const QVariantMap& levels, const char* key, const char* unit)
{
    const QVariant value = levels.value(QString::fromLatin1(key));
    return value.isValid() ? fmt::format("{:.1f} {}", value.toDouble(), unit) : fmt::format("— {}", unit);
}

std::string levelLine(const QVariantMap& levels)
{
    const bool isRunning = levels.value(QStringLiteral("running")).toBool();
    const bool isPaused = levels.value(QStringLiteral("paused")).toBool();
    const std::string zone = levels.value(QStringLiteral("zone")).toString().toStdString();
    std::string line =
        fmt::format("{}, {}, peak {}, {}, dose {:.1f}% ({})", level(levels, "dBA", "dBA"),
                    level(levels, "dBC", "dBC"), level(levels, "peakDBA", "dBA"),
                    level(levels, "peakDBC", "dBC"), levels.value(QStringLiteral("dosePercent")).toDouble(),
                    levels.value(QStringLiteral("doseLevel")).toString().toStdString());
    if (!zone.empty())
        line += ", " + zone;
    if (isPaused)
        line += ", paused";
    if (!isRunning)
        line += ", not measuring";
    return line;
}

ExitStatus watch(const Wanted& wanted)
{
    int writeError = 0;
    const Answer answer = followLevels([&](const QVariantMap& levels) {
        if (writeError != 0 || writeLine(wanted.isJson ? json(levels) : levelLine(levels)))
            return;
        writeError = errno;
        QCoreApplication::quit();
    });
    if (writeError == 0)
        return finish(answer, wanted, dialog);
    // Whoever has read the levels has had enough of them.
    if (writeError == EPIPE)
        return ExitStatus::done;
    errno = writeError;
    return unprinted();
}

ExitStatus callAndSay(const Method& method, const Wanted& wanted, const QVariantList& arguments = {})
{
    return finish(call(method, arguments), wanted, dialog);
}

/// Sets what was given and says what holds now.
ExitStatus setFocus(bool isEnabled, const Wanted& wanted)
{
    Answer answer;
    if (wanted.name)
        answer = call({focusFilter, "SetDAW"}, {QString::fromStdString(*wanted.name)});
    if (answer.status == ExitStatus::done)
        answer = call({focusFilter, "SetEnabled"}, {isEnabled});
    if (answer.status == ExitStatus::done)
        answer = call({focusFilter, "GetSettings"});
    return finish(answer, wanted, focusState);
}

void describe(CLI::App& program, Wanted& wanted)
{
    program.require_subcommand(1);
    program.fallthrough();
    program.set_help_all_flag("--help-all", "Print the help of all commands too");
    program.add_flag("--json", wanted.isJson, "Print the answer as one JSON object a line");

    const auto command = [&wanted](CLI::App& parent, const char* name, const char* help,
                                   const std::function<ExitStatus()>& run) {
        CLI::App* made = parent.add_subcommand(name, help);
        made->final_callback([&wanted, run, made] {
            if (made->get_subcommands().empty())
                wanted.command = run;
        });
        return made;
    };
    const auto simple = [&](CLI::App& parent, const char* name, const char* help, const char* method) {
        return command(parent, name, help, [&wanted, method] {
            return callAndSay({intents, method}, wanted);
        });
    };

    simple(program, "spl", "The level of this moment", "GetCurrentSPL");
    simple(program, "dose", "Today's noise dose", "GetTodaysDose");
    simple(program, "stats", "The streak and the last week", "GetMonitoringStats");
    CLI::App* session = program.add_subcommand("session", "Start or end a session");
    session->require_subcommand(1);
    command(*session, "start", "Start a session", [&wanted] {
        return callAndSay({intents, "StartMixingSession"}, wanted,
                          {QString::fromStdString(wanted.name.value_or(""))});
    })->add_option("NAME", wanted.name, "A label for it; Manual if none is given");
    simple(*session, "end", "End the running session", "EndMixingSession");
    command(program, "pause", "Pause the accounting", [&wanted] {
        return callAndSay({intents, "PauseMonitoring"}, wanted,
                          {QVariant::fromValue<qlonglong>(wanted.minutes)});
    })->add_option("MINUTES", wanted.minutes, "1 to 1440; without end if none are given");
    simple(program, "resume", "Go on with the accounting", "ResumeMonitoring");
    command(program, "watch", "Follow the levels, a line for each change",
            [&wanted] { return watch(wanted); });
    command(program, "shortcuts", "The phrases that the desktop's search answers", [&wanted] {
        return finish(call({intents, "ListShortcuts"}), wanted, shortcutTable);
    });
    CLI::App* focus =
        command(program, "focus", "Whether Do Not Disturb starts and ends a session", [&wanted] {
            return finish(call({focusFilter, "GetSettings"}), wanted, focusState);
        });
    command(*focus, "on", "Start a session when it goes on, end it when it goes off", [&wanted] {
        return setFocus(true, wanted);
    })->add_option("NAME", wanted.name, "A label for the session; the one before if none is given");
    command(*focus, "off", "Start and end none; this is the default",
            [&wanted] { return setFocus(false, wanted); });
}

} // namespace

int main(int argumentCount, char** arguments)
{
    prepareStandardStreams();
    CLI::App program("Talks to the running Velmor.");
    Wanted wanted;
    describe(program, wanted);
    try {
        program.parse(argumentCount, arguments);
    } catch (const CLI::Error& error) {
        return program.exit(error) == 0 ? 0 : static_cast<int>(ExitStatus::invalidArgument);
    }
    const QCoreApplication application(argumentCount, arguments);
    const ExitStatus status = wanted.command();
    // Without the end of Qt's static objects: its bus thread may be using them.
    std::fflush(nullptr);
    std::_Exit(static_cast<int>(status));
}
