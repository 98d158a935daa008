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
#include <string>

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

} // namespace

class DesktopColorSchemes::Sources final : public QObject
{
public:
    explicit Sources(const std::filesystem::path& configuration)
        : m_interface([this] { changed(); })
    {
        if (isCurrentDesktop("LXQt"))
            followLxqt(configuration);
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
        std::optional<bool>& isDark = property == theme ? m_xfceThemeIsDark : m_xfcePanelIsDark;
        isDark.reset();
        if (value)
            isDark = property == theme ? isDarkTheme(value->toString().toStdString()) : value->toBool();
        changed();
    }

    InterfaceSettings m_interface;
    QFileSystemWatcher m_lxqtFiles;
    std::optional<bool> m_lxqtIsDark;
    std::optional<bool> m_xfceThemeIsDark;
    std::optional<bool> m_xfcePanelIsDark;
    XfceSettings m_xfce{{{QStringLiteral("xsettings"), QStringLiteral("/Net/ThemeName")},
                         {QStringLiteral("xfce4-panel"), QStringLiteral("/panels/dark-mode")}},
                        [this](std::size_t property, const std::optional<QVariant>& value, bool) {
                            takeXfce(property, value);
                        }};
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
