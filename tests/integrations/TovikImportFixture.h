// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <integrations/TovikImporter.h>
#include <support/CapturedOutput.h>
#include <support/SessionWorld.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

namespace velmor::test {

inline constexpr auto welcomeShown = "Velmor.welcomeShown";
inline constexpr auto oneID = "0123ABCD-EF45-4789-8ABC-DEF012345678";
inline constexpr auto otherID = "11111111-2222-4333-8444-555555555555";

inline std::string sessionText(const std::string& id, const std::string& start,
                               const std::string& name = "REAPER")
{
    return R"({"id":")" + id + R"(","startDate":")" + start + R"(","endDate":")" + start +
           R"(","dawName":")" + name +
           R"(","averageSPL":78.5,"peakSPL":92.25,"doseAccumulated":12.5,"readings":[]})";
}

/// Imports files of an export into stores of the test's own.
class TovikImporterTest : public ::testing::Test
{
protected:
    TovikImporterTest() { manager = world.manager(); }

    ImportResult import(const std::string& text)
    {
        writeFile(file, text);
        return importFile();
    }

    ImportResult importFile()
    {
        return TovikImporter::importFromFile(file,
                                             {world.defaults, *manager, world.calendar, world.loop.now()});
    }

    /// The file with one member besides the version.
    ImportResult importMember(const std::string& key, const std::string& value)
    {
        return import(R"({"schemaVersion":1,")" + key + "\":" + value + "}");
    }

    /// That the import fails so, and changes nothing.
    void expectRefusal(ImportError::Reason reason, const testing::Matcher<std::string>& message)
    {
        const auto defaults = world.defaults.values();
        const auto sessions = manager->sessionHistory.get();
        const std::string history = world.history();
        try {
            importFile();
            ADD_FAILURE() << "it was imported";
        } catch (const ImportError& error) {
            EXPECT_EQ(error.reason(), reason);
            EXPECT_THAT(error.what(), message);
        }
        EXPECT_EQ(world.defaults.values(), defaults);
        EXPECT_EQ(manager->sessionHistory.get(), sessions);
        EXPECT_EQ(world.history(), history);
    }

    void expectMalformed(const std::string& text)
    {
        SCOPED_TRACE(text.substr(0, 200));
        writeFile(file, text);
        expectRefusal(ImportError::Reason::malformedJSON,
                      testing::StartsWith("The export file is not valid JSON: "));
    }

    template <typename Type>
    std::optional<Type> stored(const char* key) const
    {
        return world.defaults.get<Type>(key);
    }

    const QuietLines quietLines;
    SessionWorld world;
    TemporaryFolder exports;
    const std::filesystem::path file = exports / "export.json";
    std::unique_ptr<SessionManager> manager;
};

} // namespace velmor::test
