// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <platform/DefaultsStore.h>

#include <filesystem>
#include <optional>
#include <string_view>

namespace velmor {

/// Looks into the store of another process, which may be writing to it: a value is always whole, the new one
/// or the one before. Opens the file anew for each question. A file that isn't there, can't be opened or is
/// no store has no values.
class SqliteDefaultsReader final : public DefaultsReader
{
public:
    explicit SqliteDefaultsReader(std::filesystem::path file);

    std::optional<DefaultsValue> value(std::string_view key) const override;

private:
    std::filesystem::path m_file;
};

} // namespace velmor
