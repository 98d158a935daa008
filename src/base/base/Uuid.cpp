// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/Uuid.h>

#include <boost/uuid/random_generator.hpp>

#include <cstddef>
#include <cstdint>

namespace velmor {

namespace {

constexpr std::string_view shape = "00000000-0000-0000-0000-000000000000";
constexpr std::string_view hexadecimalDigits = "0123456789ABCDEF";

std::optional<unsigned> valueOfDigit(char c)
{
    if (c >= 'a' && c <= 'f')
        c = static_cast<char>(c - 'a' + 'A');
    const std::size_t value = hexadecimalDigits.find(c);
    return value != std::string_view::npos ? std::optional(static_cast<unsigned>(value)) : std::nullopt;
}

} // namespace

Uuid makeUuid()
{
    return boost::uuids::random_generator()();
}

std::string uuidText(const Uuid& uuid)
{
    std::string text(shape);
    std::size_t place = 0;
    for (const std::uint8_t byte : uuid) {
        if (text[place] == '-')
            ++place;
        text[place++] = hexadecimalDigits[byte >> 4U];
        text[place++] = hexadecimalDigits[byte & 0xFU];
    }
    return text;
}

std::optional<Uuid> uuidFromText(std::string_view text)
{
    if (text.size() != shape.size())
        return std::nullopt;
    Uuid uuid = {};
    std::size_t digits = 0;
    for (std::size_t i = 0; i < shape.size(); ++i) {
        if (shape[i] == '-') {
            if (text[i] != '-')
                return std::nullopt;
            continue;
        }
        const auto value = valueOfDigit(text[i]);
        if (!value)
            return std::nullopt;
        auto& byte = uuid.data[digits / 2];
        byte = static_cast<std::uint8_t>(static_cast<unsigned>(byte) << 4U | *value);
        ++digits;
    }
    return uuid;
}

} // namespace velmor
