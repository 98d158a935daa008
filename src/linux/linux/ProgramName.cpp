// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/ProgramName.h>

#include <base/Text.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>

namespace velmor {

namespace {

/// They run what their argument names.
constexpr std::array<std::string_view, 14> interpreters = {"sh",     "bash", "dash",  "zsh",  "ksh",
                                                           "python", "perl", "ruby",  "java", "node",
                                                           "mono",   "gjs",  "tclsh", "lua"};

/// They start something that shows by itself.
constexpr std::array<std::string_view, 8> launchers = {"flatpak", "snap",        "xdg-open", "gtk-launch",
                                                       "gio",     "systemd-run", "setsid",   "nohup"};

constexpr std::array<std::string_view, 12> helperWords = {"scan",    "crash",      "helper",      "bridge",
                                                          "handler", "report",     "updat",       "install",
                                                          "proxy",   "pluginhost", "plugin_host", "sandbox"};

/// In an argument the words are rarer: a program may well be told not to report or to update.
constexpr std::array<std::string_view, 5> helperArguments = {"scan", "crashpad", "crash-handler",
                                                             "plugin-host", "pluginhost"};

bool containsAny(std::string_view text, std::span<const std::string_view> words)
{
    return std::ranges::any_of(
        words, [text](std::string_view word) { return text.find(word) != std::string_view::npos; });
}

bool isAmong(std::string_view name, std::span<const std::string_view> names)
{
    return std::ranges::find(names, name) != names.end();
}

bool isAssignment(std::string_view word)
{
    const auto equals = word.find('=');
    return equals != std::string_view::npos && equals > 0 && word.find('/') > equals;
}

/// Whether a text that is to be run, or a list of folders, comes next: what it starts shows by itself.
bool isInlineCode(std::string_view option, bool isShell)
{
    constexpr std::array<std::string_view, 7> options = {"-c",  "-e",         "-m",    "-p",
                                                         "-cp", "-classpath", "--eval"};
    // Shells take their letters in one word: "-ec".
    return isShell ? !option.starts_with("--") && option.ends_with('c') : isAmong(option, options);
}

bool isWindowsProgram(std::string_view word)
{
    return lowerCase(word).ends_with(".exe");
}

/// The programs of the system's own, as it starts them with every other.
bool isOfWindowsItself(std::string_view path)
{
    return lowerCase(path).find(":\\windows\\") != std::string::npos;
}

std::string windowsProgramIn(std::span<const std::string> arguments)
{
    const auto found = std::ranges::find_if(arguments, isWindowsProgram);
    return found != arguments.end() && !isOfWindowsItself(*found) ? lowerCase(baseName(*found))
                                                                  : std::string();
}

} // namespace

std::string_view baseName(std::string_view path)
{
    constexpr std::string_view windowsSeparators = "/\\";
    const auto separator = isWindowsProgram(path) ? path.find_last_of(windowsSeparators) : path.rfind('/');
    return separator == std::string_view::npos ? path : path.substr(separator + 1);
}

bool isHelperName(std::string_view lowerCaseName)
{
    return containsAny(lowerCaseName, helperWords);
}

bool isHelperCommand(const std::vector<std::string>& arguments)
{
    return std::ranges::any_of(arguments, [](const std::string& argument) {
        return argument.starts_with('-') && containsAny(lowerCase(argument), helperArguments);
    });
}

std::string programName(std::string_view executable, const std::vector<std::string>& arguments)
{
    std::span<const std::string> words = arguments;
    std::string_view name = baseName(executable);
    if (name.empty() || name == "env") {
        while (!words.empty() && (baseName(words.front()) == "env" || isAssignment(words.front())))
            words = words.subspan(1);
        if (words.empty())
            return {};
        name = baseName(words.front());
    }
    if (name.starts_with("wine") || (!words.empty() && isWindowsProgram(words.front())))
        return windowsProgramIn(words);
    if (isAmong(name, launchers))
        return {};
    if (!isAmong(withoutVersion(name), interpreters))
        return std::string(name);
    const bool isShell = name.ends_with("sh") && name != "tclsh";
    for (const std::string& word : words.subspan(std::min<std::size_t>(1, words.size()))) {
        if (!word.starts_with('-'))
            return std::string(baseName(word));
        if (isInlineCode(word, isShell))
            return {};
    }
    return {};
}

std::string_view withoutVersion(std::string_view name)
{
    const auto last = name.find_last_not_of("0123456789.-_ ");
    return last == std::string_view::npos ? name : name.substr(0, last + 1);
}

} // namespace velmor
