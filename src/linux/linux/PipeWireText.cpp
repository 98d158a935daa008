// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/PipeWireText.h>

#include <spa/utils/json.h>

#include <algorithm>
#include <charconv>

namespace velmor {

std::vector<std::string> listEntries(std::string_view list)
{
    std::vector<std::string> entries;
    constexpr std::string_view separators = " ,[]\"\t\n";
    while (true) {
        const auto start = list.find_first_not_of(separators);
        if (start == std::string_view::npos)
            return entries;
        list.remove_prefix(start);
        const auto length = std::min(list.find_first_of(separators), list.size());
        entries.emplace_back(list.substr(0, length));
        list.remove_prefix(length);
    }
}

std::optional<std::uint32_t> wholeNumber(std::string_view text)
{
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return number;
}

std::string nameInMetadata(const std::string& value)
{
    spa_json outer = {};
    spa_json inner = {};
    spa_json_init(&outer, value.data(), value.size());
    if (spa_json_enter_object(&outer, &inner) <= 0)
        return {};
    char key[64];
    while (spa_json_get_string(&inner, key, sizeof key) > 0) {
        char member[1024];
        if (spa_json_get_string(&inner, member, sizeof member) <= 0)
            return {};
        if (std::string_view(key) == "name")
            return member;
    }
    return {};
}

} // namespace velmor
