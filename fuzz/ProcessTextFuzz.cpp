// SPDX-License-Identifier: GPL-3.0-or-later
// What other programs make us read of them: desktop files, their processes' files in /proc, command lines,
// the lists, names and positions of the audio graph. The first byte says which.
#include <linux/ChannelName.h>
#include <linux/DesktopEntries.h>
#include <linux/PipeWireText.h>
#include <linux/ProcessInfo.h>
#include <linux/ProgramName.h>
#include <linux/WorkstationAliases.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace velmor;

void require(bool isTrue)
{
    if (!isTrue)
        std::abort();
}

void readDesktopFile(std::string_view text)
{
    if (const auto entry = desktopEntryFromText(text, "id", "/file")) {
        require(!entry->name.empty() || text.find("Name") != std::string_view::npos);
        workstationOfProgram(entry->program);
    }
}

void readCommand(std::string_view text)
{
    std::vector<std::string> arguments;
    const auto end = text.find('\n');
    std::string_view rest = text.substr(end == std::string_view::npos ? text.size() : end + 1);
    while (!rest.empty()) {
        const auto length = std::min(rest.find('\0'), rest.size());
        arguments.emplace_back(rest.substr(0, length));
        rest.remove_prefix(std::min(length + 1, rest.size()));
    }
    const std::string name = programName(text.substr(0, end), arguments);
    isHelperCommand(arguments);
    isHelperName(name);
    workstationOfProgram(name);
    workstationWithID(name);
    require(std::string_view(name).starts_with(withoutVersion(name)));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
    switch (data[0] % 7) {
    case 0:
        readDesktopFile(text);
        break;
    case 1:
        parentFromStat(text);
        ownerFromStatus(text);
        break;
    case 2:
        if (const auto scope = scopeFromCgroup(text))
            require(!scope->applicationID.empty() && text.find(scope->path) != std::string_view::npos);
        break;
    case 3:
        if (const auto scope = scopeFromFlatpakInfo(text))
            require(!scope->applicationID.empty());
        break;
    case 4:
        readCommand(text);
        break;
    case 5:
        for (const std::string& entry : listEntries(text))
            require(!entry.empty());
        wholeNumber(text);
        nameInMetadata(std::string(text));
        break;
    default:
        channelName(text);
        break;
    }
    return 0;
}
