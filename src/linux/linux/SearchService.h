// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <platform/DesktopSearch.h>

#include <memory>

namespace velmor {

/// Offers the results of a source to the searches of desktops: as a search provider of GNOME Shell, at
/// /dev/brightfen/velmor/search, and as a runner of Plasma, at /dev/brightfen/velmor/runner. Main thread.
class SearchService
{
public:
    /// \param source outlives the service.
    explicit SearchService(SearchSource& source);
    ~SearchService();
    SearchService(const SearchService&) = delete;
    SearchService& operator=(const SearchService&) = delete;

private:
    class ShellProvider;
    class Runner;
    std::unique_ptr<ShellProvider> m_shellProvider;
    std::unique_ptr<Runner> m_runner;
};

} // namespace velmor
