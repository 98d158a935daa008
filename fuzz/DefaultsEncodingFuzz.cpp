// SPDX-License-Identifier: GPL-3.0-or-later
// A row of the defaults store: whatever a file holds decodes to a value that encodes to the same row
// again, or to none.
#include <linux/DefaultsEncoding.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string_view>

namespace {

using namespace velmor;

/// The first `size` bytes of the rest, as a number; missing ones are 0.
template <typename Number>
Number numberFrom(std::span<const std::byte> bytes)
{
    Number number = 0;
    std::memcpy(&number, bytes.data(), std::min(bytes.size(), sizeof number));
    return number;
}

DatabaseColumn columnFrom(unsigned kind, std::span<const std::byte> bytes)
{
    switch (kind % 5) {
    case 0:
        return std::monostate();
    case 1:
        return numberFrom<std::int64_t>(bytes);
    case 2:
        return numberFrom<double>(bytes);
    case 3:
        return std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    default:
        return bytes;
    }
}

bool isSame(const DatabaseColumn& a, const DatabaseColumn& b)
{
    if (a.index() != b.index())
        return false;
    if (const auto* blob = std::get_if<std::span<const std::byte>>(&a)) {
        const auto other = std::get<std::span<const std::byte>>(b);
        return blob->size() == other.size() && std::equal(blob->begin(), blob->end(), other.begin());
    }
    if (const auto* real = std::get_if<double>(&a))
        return std::memcmp(real, &std::get<double>(b), sizeof *real) == 0;
    if (const auto* integer = std::get_if<std::int64_t>(&a))
        return *integer == std::get<std::int64_t>(b);
    if (const auto* text = std::get_if<std::string_view>(&a))
        return *text == std::get<std::string_view>(b);
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 2)
        return 0;
    const std::span bytes(reinterpret_cast<const std::byte*>(data), size);
    // The length of the type's name, the kind of the column, the name, the column's content.
    const std::size_t typeLength = std::min<std::size_t>(data[0], size - 2);
    const std::string_view type(reinterpret_cast<const char*>(data) + 2, typeLength);
    const DatabaseColumn column = columnFrom(data[1], bytes.subspan(2 + typeLength));

    const auto value = decodeDefaultsValue(type, column);
    if (!value)
        return 0;
    if (typeName(*value) != type)
        std::abort();
    const DatabaseColumn encoded = encodedDefaultsValue(*value);
    if (type == "dictionary") {
        // The same object may be written in many ways.
        if (decodeDefaultsValue(type, encoded) != value)
            std::abort();
        return 0;
    }
    const auto* real = std::get_if<double>(&column);
    const bool isNoNumber = real && *real != *real;
    if (!isNoNumber && !isSame(encoded, column))
        std::abort();
    return 0;
}
