// SPDX-License-Identifier: GPL-3.0-or-later
// Reads a JSON text from its beginning to its end without keeping what is in it: for those that are too large
// for the trees of JsonRecord.h.
#pragma once

#include <base/JsonError.h>

#include <simdjson.h>

#include <cstddef>
#include <new>
#include <string>
#include <utility>

namespace velmor {

/// A text with so many bytes of room behind it is not copied to be read.
inline constexpr std::size_t jsonSpareCapacity = simdjson::SIMDJSON_PADDING;

/// Walks through a value that nobody asks for, for a text with an error anywhere is no JSON.
/// \throws JsonError, simdjson::simdjson_error
void checkJson(simdjson::ondemand::value value);

/// Whether a value is null, which is then read. Any other is still to be read.
bool isJsonNull(simdjson::ondemand::value& value);

/// What a function makes of the text; it reads the document to its end. \throws JsonError
template <typename Function>
auto readJsonStream(std::string text, Function function)
{
    try {
        text.reserve(text.size() + jsonSpareCapacity);
        simdjson::ondemand::parser parser;
        simdjson::ondemand::document document =
            parser.iterate(simdjson::padded_string_view(text.data(), text.size(), text.capacity()));
        auto result = function(document);
        if (document.current_location().error() != simdjson::OUT_OF_BOUNDS)
            throw JsonError("text after the end");
        return result;
    } catch (const simdjson::simdjson_error& error) {
        throw JsonError(error.what());
    } catch (const std::bad_alloc&) {
        throw JsonError("it is too large for the memory");
    }
}

} // namespace velmor
