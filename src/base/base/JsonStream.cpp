// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/JsonStream.h>

#include <string_view>

namespace velmor {

namespace ondemand = simdjson::ondemand;

namespace {

/// Deeper nesting is refused: it would end in the stack.
constexpr int deepestNesting = 500;

void check(ondemand::value value, int depth)
{
    if (depth > deepestNesting)
        throw JsonError("nested too deeply");
    switch (ondemand::json_type(value.type())) {
    case ondemand::json_type::array:
        for (auto element : value.get_array())
            check(element.value(), depth + 1);
        return;
    case ondemand::json_type::object:
        for (auto field : value.get_object()) {
            (void)std::string_view(field.unescaped_key());
            check(field.value().value(), depth + 1);
        }
        return;
    case ondemand::json_type::number:
        (void)value.get_double().value();
        return;
    case ondemand::json_type::string:
        (void)value.get_string().value();
        return;
    case ondemand::json_type::boolean:
        (void)value.get_bool().value();
        return;
    case ondemand::json_type::null:
        if (!value.is_null().value())
            throw JsonError("no JSON value");
        return;
    }
}

} // namespace

void checkJson(ondemand::value value)
{
    check(value, 0);
}

bool isJsonNull(ondemand::value& value)
{
    return ondemand::json_type(value.type()) == ondemand::json_type::null && value.is_null().value();
}

} // namespace velmor
