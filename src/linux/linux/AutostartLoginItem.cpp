// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/AutostartLoginItem.h>

#include <base/AtomicFile.h>
#include <linux/Directories.h>
#include <linux/KeyFile.h>

#include <fmt/format.h>

#include <string>
#include <string_view>
#include <utility>

namespace velmor {

namespace {

constexpr auto group = "Desktop Entry";

/// As an argument of Exec: quoted, and escaped once more as every value of a desktop file is. A percent
/// sign would begin a field code.
std::string quotedForExec(std::string_view path)
{
    constexpr std::string_view escapedInQuotes = "\"`$\\";
    std::string text = "\"";
    for (const char c : path) {
        if (escapedInQuotes.find(c) != std::string_view::npos)
            text += c == '\\' ? "\\\\\\" : "\\\\";
        text += c;
        if (c == '%')
            text += '%';
    }
    return text + '"';
}

} // namespace

AutostartLoginItem::AutostartLoginItem(const std::filesystem::path& configFolder,
                                       std::filesystem::path program)
    : m_file(configFolder / "autostart/dev.brightfen.velmor.desktop")
    , m_program(std::move(program))
{}

bool AutostartLoginItem::isEnabled() const
{
    const auto keys = KeyFile::read(m_file);
    return keys && keys->text(group, "Exec") && !keys->flag(group, "Hidden").value_or(false) &&
           keys->flag(group, "X-GNOME-Autostart-enabled").value_or(true);
}

bool AutostartLoginItem::registerItem()
{
    const std::string text = fmt::format("[Desktop Entry]\n"
                                         "Type=Application\n"
                                         "Name=Velmor\n"
                                         "Exec={}\n"
                                         "TryExec={}\n"
                                         "Icon=dev.brightfen.velmor\n"
                                         "X-GNOME-Autostart-enabled=true\n",
                                         quotedForExec(m_program.native()), m_program.native());
    // One that starts the program already may have been given more by its user.
    const auto stays = [wanted = KeyFile::fromText(text), present = KeyFile::read(m_file)](const char* key) {
        return present->text(group, key) == wanted->text(group, key);
    };
    if (isEnabled() && stays("Exec") && stays("TryExec"))
        return true;
    if (createFolder(m_file.parent_path()))
        return false;
    AtomicFile file(m_file);
    file.write(text);
    return file.commit();
}

// One that is off already is left: the desktop's settings list it with a switch of their own.
bool AutostartLoginItem::unregisterItem()
{
    if (!isEnabled())
        return true;
    std::error_code error;
    std::filesystem::remove(m_file, error);
    return !error;
}

} // namespace velmor
