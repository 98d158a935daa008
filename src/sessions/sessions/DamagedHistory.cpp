// SPDX-License-Identifier: GPL-3.0-or-later
#include <sessions/DamagedHistory.h>

#include <base/AtomicFile.h>
#include <base/FileText.h>
#include <base/Print.h>

#include <fmt/format.h>

#include <string>

namespace velmor {

namespace {

bool holds(const std::filesystem::path& file, const std::string& text)
{
    std::error_code error;
    if (std::filesystem::file_size(file, error) != text.size() || error)
        return false;
    return fileText(file, error) == text && !error;
}

/// Whether a copy of an earlier time is there, or a second name.
/// \param text of the file; null where it can't be read.
bool hasCopy(const std::filesystem::path& file, const std::string* text)
{
    const std::string prefix = file.stem().native() + ".damaged-";
    std::error_code error;
    for (std::filesystem::directory_iterator entry(file.parent_path(), error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code ignored;
        const bool isCandidate = entry->path().filename().native().starts_with(prefix);
        if (isCandidate && (std::filesystem::equivalent(entry->path(), file, ignored) ||
                            (text && holds(entry->path(), *text))))
            return true;
    }
    return false;
}

std::filesystem::path nameOfCopy(const std::filesystem::path& file, Date now)
{
    std::string moment = isoText(now);
    std::erase(moment, ':');
    auto name = file;
    std::error_code error;
    for (int number = 1; number == 1 || std::filesystem::exists(name, error); ++number) {
        const std::string suffix = number > 1 ? fmt::format("-{}", number) : "";
        name.replace_filename(fmt::format("{}.damaged-{}{}{}", file.stem().native(), moment, suffix,
                                          file.extension().native()));
    }
    return name;
}

} // namespace

std::error_code setDamagedHistoryAside(const std::filesystem::path& file, Date now)
{
    std::error_code error;
    const auto status = std::filesystem::status(file, error);
    if (status.type() == std::filesystem::file_type::none) // There may be a file, but it can't be seen.
        return error;
    if (!std::filesystem::is_regular_file(status))
        return {};
    const std::string text = fileText(file, error);
    if (hasCopy(file, error ? nullptr : &text))
        return {};

    const auto copy = nameOfCopy(file, now);
    if (error) {
        // What can't be read can still get a second name.
        error.clear();
        std::filesystem::create_hard_link(file, copy, error);
        if (error)
            return error;
    } else {
        AtomicFile atomicFile(copy);
        atomicFile.write(text);
        if (!atomicFile.commit())
            return atomicFile.error();
    }
    printLine("The damaged session history is kept as {}", copy.native());
    return {};
}

} // namespace velmor
