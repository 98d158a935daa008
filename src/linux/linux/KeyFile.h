// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace velmor {

/// A text of groups with keys and values, the form of desktop entries and their like.
class KeyFile
{
public:
    /// Absent for what is no such text.
    static std::optional<KeyFile> fromText(std::string_view text);

    /// Absent also for a file that isn't there.
    static std::optional<KeyFile> read(const std::filesystem::path& file);

    /// The value with its escapes undone; absent where there is none.
    std::optional<std::string> text(const char* group, const char* key) const;

    /// The value in the user's language, or else the one without a language.
    std::optional<std::string> localText(const char* group, const char* key) const;

    /// Absent also for a value that is neither true nor false.
    std::optional<bool> flag(const char* group, const char* key) const;

private:
    struct Free
    {
        void operator()(void* keyFile) const;
    };
    using Handle = std::unique_ptr<void, Free>;

    explicit KeyFile(Handle handle);

    Handle m_handle;
};

} // namespace velmor
