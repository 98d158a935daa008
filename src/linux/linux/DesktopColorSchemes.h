// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <linux/Directories.h>
#include <platform/ColorSchemes.h>

#include <memory>

namespace velmor {

/// Light or dark, as whichever desktop this is has it: Xfce in the channels of its configuration, LXQt by its
/// theme's name, GNOME and those like it in its settings. Plasma's Qt programs know by themselves. Needs Qt's
/// event loop on GLib. Main thread.
class DesktopColorSchemes final : public ColorSchemes
{
public:
    /// Asks; what is not known at once comes in later turns of the loop, as a change.
    /// \param folders where configuration and themes are found.
    explicit DesktopColorSchemes(const BaseFolders& folders);
    ~DesktopColorSchemes() override;

    std::optional<bool> areWindowsDark() const override;
    std::optional<bool> arePanelsDark() const override;
    Subscription onChange(const std::function<void()>& callback) override;

private:
    class Sources;
    std::unique_ptr<Sources> m_sources;
};

} // namespace velmor
