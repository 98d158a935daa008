// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <support/RunProgram.h>

#include <simdjson.h>

#include <map>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace velmor::test {

/// Runs velmor-meter.
inline Outcome meter(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), programPath("velmor-meter"));
    return run(arguments);
}

/// The members of a JSON object: numbers, Booleans as 0 and 1, texts, and lists. Those of an object in it
/// have its name and a dot before their own.
struct JsonObject
{
    explicit JsonObject(const std::string& text)
    {
        simdjson::dom::parser parser;
        take(parser.parse(text), "");
    }

    double operator[](const std::string& name) const { return numbers.at(name); }

    std::vector<std::string> names;
    std::map<std::string, double> numbers;
    std::map<std::string, std::string> texts;
    std::map<std::string, std::vector<std::string>> lists; ///< Each element as JSON.

private:
    static void takeList(const simdjson::dom::array& array, std::vector<std::string>& list)
    {
        for (const auto element : array)
            list.push_back(simdjson::minify(element));
    }

    void take(const simdjson::dom::object& object, const std::string& prefix)
    {
        for (const auto& [key, value] : object) {
            const std::string name = prefix + std::string(key);
            names.push_back(name);
            if (value.is_object())
                take(value, name + ".");
            else if (value.is_bool())
                numbers[name] = bool(value) ? 1 : 0;
            else if (value.is_number())
                numbers[name] = value.get_double();
            else if (value.is_array())
                takeList(value, lists[name]);
            else
                texts[name] = std::string(std::string_view(value));
        }
    }
};

/// One object a line.
inline std::vector<JsonObject> jsonLines(const std::string& text)
{
    std::vector<JsonObject> objects;
    std::size_t start = 0;
    while (start < text.size()) {
        const std::size_t end = text.find('\n', start);
        if (end == std::string::npos)
            throw std::runtime_error("the last line has no end");
        objects.emplace_back(text.substr(start, end - start));
        start = end + 1;
    }
    return objects;
}

} // namespace velmor::test
