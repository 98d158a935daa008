// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/DesktopColorSchemes.h>

#include <linux/CurrentDesktop.h>
#include <linux/InterfaceSettings.h>
#include <linux/KeyFile.h>
#include <linux/XfceSettings.h>

#include <QFileSystemWatcher>
#include <QLatin1String>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <boost/signals2/signal.hpp>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace velmor {

namespace {

constexpr QLatin1String lxqtFile("lxqt.conf");

/// Themes say it in their name.
bool isDarkTheme(std::string name)
{
    std::ranges::transform(name, name.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return name.find("dark") != std::string::npos;
}

/// Whether GTK finds a dark variant of a theme. One that it doesn't find at all, as that which Xfce is set to
/// at first may be, it shows as its own and light.
bool hasDarkVariant(const std::string& theme, const BaseFolders& folders)
{
    // They are in GTK itself.
    if (theme == "Adwaita" || theme == "HighContrast")
        return true;
    std::vector<std::filesystem::path> places;
    for (const auto& data : folders.allData())
        places.push_back(data / "themes");
    places.push_back(folders.home / ".themes");
    // Where GTK 3.24 looks.
    for (const char* const version :
         {"gtk-3.24", "gtk-3.22", "gtk-3.20", "gtk-3.18", "gtk-3.16", "gtk-3.14", "gtk-3.0"}) {
        for (const auto& place : places) {
            std::error_code error;
            if (std::filesystem::exists(place / theme / version / "gtk-dark.css", error))
                return true;
        }
    }
    return false;
}

} // namespace

class DesktopColorSchemes::Sources final : public QObject
{
public:
    explicit Sources(const BaseFolders& folders)
        : m_folders(folders)
        , m_interface([this] { changed(); })
    {
        if (isCurrentDesktop("LXQt"))
            followLxqt(folders.config);
    }

    std::optional<bool> areWindowsDark() const
    {
        if (isCurrentDesktop("KDE"))
            return std::nullopt;
        if (m_xfceTheme)
            return isDarkTheme(*m_xfceTheme);
        return m_lxqtIsDark ? m_lxqtIsDark : m_interface.prefersDark();
    }

    std::optional<bool> arePanelsDark() const
    {
        // Xfce's panel can be dark under a light theme that can be both, GNOME's always is.
        if (m_xfcePanelIsDark && m_xfceThemeCanBeDark)
            return true;
        if (isCurrentDesktop("GNOME"))
            return true;
        return areWindowsDark();
    }

    boost::signals2::signal<void()> changed;

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

    void takeXfce(std::size_t property, const std::optional<QVariant>& value)
    {
        constexpr std::size_t theme = 0;
        if (property == theme)
            m_xfceTheme = value ? std::optional(value->toString().toStdString()) : std::nullopt;
        else
            m_xfcePanelIsDark = value && value->toBool();
        m_xfceThemeCanBeDark = hasDarkVariant(m_xfceTheme.value_or("Adwaita"), m_folders);
        changed();
    }

    const BaseFolders m_folders;
    InterfaceSettings m_interface;
    QFileSystemWatcher m_lxqtFiles;
    std::optional<bool> m_lxqtIsDark;
    std::optional<std::string> m_xfceTheme;
    bool m_xfceThemeCanBeDark = false;
    bool m_xfcePanelIsDark = false;
    XfceSettings m_xfce{{{QStringLiteral("xsettings"), QStringLiteral("/Net/ThemeName")},
                         {QStringLiteral("xfce4-panel"), QStringLiteral("/panels/dark-mode")}},
                        [this](std::size_t property, const std::optional<QVariant>& value, bool) {
                            takeXfce(property, value);
                        }};
};

DesktopColorSchemes::DesktopColorSchemes(const BaseFolders& folders)
    : m_sources(std::make_unique<Sources>(folders))
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
