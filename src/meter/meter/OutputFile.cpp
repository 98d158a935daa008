// SPDX-License-Identifier: GPL-3.0-or-later
#include <meter/OutputFile.h>

#include <meter/MeterError.h>

#include <fmt/format.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include <unistd.h>

namespace velmor {

namespace {

/// Whether the path names something that is written to and can't be replaced. What lies in /dev is
/// never replaced, though some of it leads to regular files.
bool isStream(const std::string& path)
{
    if (path.starts_with("/dev/") && !path.starts_with("/dev/shm/"))
        return true;
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    return std::filesystem::exists(status) && !std::filesystem::is_regular_file(status) &&
           !std::filesystem::is_directory(status);
}

} // namespace

OutputFile::OutputFile(const std::string& path, AtomicFile::Readers readers)
    : m_path(path)
{
    if (path == "-")
        m_stream.reset(::fdopen(::dup(STDOUT_FILENO), "w"));
    else if (isStream(path))
        m_stream.reset(std::fopen(path.c_str(), "we"));
    else
        m_file = std::make_unique<AtomicFile>(path, readers);
    // Somebody may be reading along.
    if (m_stream)
        std::setvbuf(m_stream.get(), nullptr, _IOLBF, BUFSIZ);
    check();
}

std::unique_ptr<OutputFile> OutputFile::openedUnlessEmpty(const std::string& path,
                                                          AtomicFile::Readers readers)
{
    return path.empty() ? nullptr : std::make_unique<OutputFile>(path, readers);
}

void OutputFile::write(std::string_view text)
{
    if (m_file)
        m_file->write(text);
    else
        std::fwrite(text.data(), 1, text.size(), m_stream.get());
    check();
}

void OutputFile::writeLine(std::string_view text)
{
    write(text);
    write("\n");
}

void OutputFile::commit()
{
    if (m_file)
        (void)m_file->commit();
    else
        std::fflush(m_stream.get());
    check();
}

void OutputFile::check()
{
    std::error_code error;
    if (m_file)
        error = m_file->error();
    else if (!m_stream || std::ferror(m_stream.get()))
        error = std::error_code(errno, std::generic_category());
    if (error)
        throw MeterError(fmt::format("{}: can't be written ({})", m_path, error.message()));
}

} // namespace velmor
