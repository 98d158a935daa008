// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace velmor {

/// Kinds of files that the user can save.
enum class SavedFileType { commaSeparatedText, json, pdf };

/// What a save panel shows.
struct SaveRequest
{
    SavedFileType type = SavedFileType::commaSeparatedText;
    std::string suggestedName; ///< With its extension.
    std::string title;         ///< Empty for the panel's own.
    std::string message;       ///< What the user is to choose; empty for none.
};

/// Asks the user for the place of a new file, and whether one that is there may be written over. Main thread.
class SavePanel
{
public:
    using Answer = std::function<void(const std::optional<std::filesystem::path>& place)>;

    virtual ~SavePanel() = default;

    /// \param answer is called at most once, in a later turn of the loop or before this returns: with the
    /// chosen place, absent when the user has thought better of it. Never when the panel's window goes first.
    virtual void ask(const SaveRequest& request, Answer answer) = 0;
};

} // namespace velmor
