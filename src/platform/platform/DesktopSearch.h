// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmor {

/// What the desktop's own search shows of this program.
struct SearchResult
{
    std::string id;
    std::string title;
    std::string subtitle;
    double relevance = 0; ///< 0 to 1, which is what was typed to the letter.
};

/// Answers the desktop's own search. Main thread.
class SearchSource
{
public:
    virtual ~SearchSource() = default;

    /// What fits to a text that may not be complete yet; the best first.
    virtual std::vector<SearchResult> find(std::string_view text) const = 0;

    /// One of them by its identifier, as of now; absent for an unknown one.
    virtual std::optional<SearchResult> result(std::string_view id) const = 0;

    /// The user has chosen it.
    virtual void choose(std::string_view id) = 0;
};

} // namespace velmor
