// SPDX-License-Identifier: GPL-3.0-or-later
#include "DesktopSettingsFixture.h"
#include "XfceConfiguration.h"

#include <linux/DesktopColorSchemes.h>

#include <QDBusVariant>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace velmor {
namespace {

class DesktopColorSchemesTest : public test::DesktopSettingsFixture
{
protected:
    void TearDown() override { schemes.reset(); }

    void follow(const char* desktop)
    {
        ::setenv("XDG_CURRENT_DESKTOP", desktop, 1);
        BaseFolders folders;
        folders.home = session / "home";
        folders.data = session / "home/.local/share";
        folders.config = session / "config";
        folders.systemData = {session / "share"};
        schemes = std::make_unique<DesktopColorSchemes>(folders);
        m_changes = schemes->onChange([this] { ++changes; });
    }

    /// Until both are so, or ten seconds have passed.
    bool become(std::optional<bool> windows, std::optional<bool> panels)
    {
        const auto areSo = [&] {
            return schemes->areWindowsDark() == windows && schemes->arePanelsDark() == panels;
        };
        runUntil(areSo, 10000);
        return areSo();
    }

    /// As LXQt's settings do: a new file takes the place of the old one.
    void chooseLxqtTheme(const std::string& theme) const
    {
        const auto folder = session / "config/lxqt";
        std::filesystem::create_directories(folder);
        test::writeFile(folder / "new", "[General]\ntheme=" + theme + "\n");
        std::filesystem::rename(folder / "new", folder / "lxqt.conf");
    }

    void installTheme(const std::string& folder) const
    {
        std::filesystem::create_directories(session / folder.c_str());
        test::writeFile((session / folder.c_str()) / "gtk-dark.css", "");
    }

    static int choose(const char* key, const char* value)
    {
        return test::run({"gsettings", "set", "org.gnome.desktop.interface", key, value}).status;
    }

    std::unique_ptr<DesktopColorSchemes> schemes;
    int changes = 0;

private:
    Subscription m_changes;
};

TEST_F(DesktopColorSchemesTest, LxqtsThemeIsFollowed)
{
    std::filesystem::create_directories(session / "config");
    follow("LXQt");
    EXPECT_TRUE(become(std::nullopt, std::nullopt));
    chooseLxqtTheme("Valendas");
    EXPECT_TRUE(become(false, false));
    chooseLxqtTheme("Kde-Dark");
    EXPECT_TRUE(become(true, true));
    EXPECT_EQ(changes, 2);
    chooseLxqtTheme("Valendas");
    EXPECT_TRUE(become(false, false));
    test::writeFile(session / "config/lxqt/lxqt.conf", "[General]\ntheme=dark\n");
    EXPECT_TRUE(become(true, true));
}

TEST_F(DesktopColorSchemesTest, XfcesThemeAndPanelAreFollowed)
{
    follow("XFCE");
    EXPECT_TRUE(become(std::nullopt, std::nullopt));
    // It may begin later than the program.
    test::XfceConfiguration looks({{"xsettings/Net/ThemeName", "Greybird-Dark"}});
    EXPECT_TRUE(become(true, true));
    emit looks.PropertyChanged("xsettings", "/Net/ThemeName", QDBusVariant("Greybird"));
    EXPECT_TRUE(become(false, false));
    installTheme("share/themes/Greybird/gtk-3.0");
    emit looks.PropertyChanged("xfce4-panel", "/panels/dark-mode", QDBusVariant(true));
    EXPECT_TRUE(become(false, true));
    emit looks.PropertyRemoved("xfce4-panel", "/panels/dark-mode");
    EXPECT_TRUE(become(false, false));
    emit looks.PropertyRemoved("xsettings", "/Net/ThemeName");
    EXPECT_TRUE(become(std::nullopt, std::nullopt));
}

// Xfce asks for dark panels from its first start on, and for a theme that GTK 3 may not have.
TEST_F(DesktopColorSchemesTest, AnXfcePanelIsDarkOnlyWhereItsThemeCanBe)
{
    follow("XFCE");
    test::XfceConfiguration looks(
        {{"xsettings/Net/ThemeName", "Xfce"}, {"xfce4-panel/panels/dark-mode", true}});
    EXPECT_TRUE(become(false, false));
    emit looks.PropertyChanged("xsettings", "/Net/ThemeName", QDBusVariant("Adwaita"));
    EXPECT_TRUE(become(false, true));
    std::filesystem::create_directories(session / "share/themes/Mint/gtk-3.20");
    emit looks.PropertyChanged("xsettings", "/Net/ThemeName", QDBusVariant("Mint"));
    EXPECT_TRUE(become(false, false));
    for (const char* folder : {"home/.themes/First/gtk-3.20", "home/.local/share/themes/Second/gtk-3.0"}) {
        installTheme(folder);
        const auto theme = std::filesystem::path(folder).parent_path().filename().string();
        emit looks.PropertyChanged("xsettings", "/Net/ThemeName",
                                   QDBusVariant(QString::fromStdString(theme)));
        EXPECT_TRUE(become(false, true)) << folder;
        emit looks.PropertyChanged("xsettings", "/Net/ThemeName", QDBusVariant("Xfce"));
        EXPECT_TRUE(become(false, false)) << folder;
    }
    // Without a theme GTK takes its own.
    emit looks.PropertyRemoved("xsettings", "/Net/ThemeName");
    EXPECT_TRUE(become(std::nullopt, true));
}

TEST_F(DesktopColorSchemesTest, GnomesSettingIsFollowedUnderAPanelThatIsAlwaysDark)
{
    follow("ubuntu:GNOME");
    ASSERT_EQ(choose("color-scheme", "prefer-light"), 0);
    EXPECT_TRUE(become(false, true));
    ASSERT_EQ(choose("color-scheme", "prefer-dark"), 0);
    EXPECT_TRUE(become(true, true));
    ASSERT_EQ(choose("color-scheme", "default"), 0);
    EXPECT_TRUE(become(std::nullopt, true));
    ASSERT_EQ(choose("gtk-theme", "Adwaita-dark"), 0);
    EXPECT_TRUE(become(true, true));
}

TEST_F(DesktopColorSchemesTest, PlasmasPaletteSaysItAll)
{
    ASSERT_EQ(choose("color-scheme", "prefer-dark"), 0);
    follow("KDE");
    EXPECT_TRUE(become(std::nullopt, std::nullopt));
}

} // namespace
} // namespace velmor
