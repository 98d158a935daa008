// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/AtomicFile.h>

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace velmor {

/// A file that the meter writes along the way. A regular file appears whole at commit() or not at
/// all; a pipe, a terminal or a device is written to at once.
class OutputFile
{
public:
    /// \param path "-" for the program's own standard output.
    /// \throws MeterError when it can't be written.
    explicit OutputFile(const std::string& path, AtomicFile::Readers readers = AtomicFile::Readers::owner);

    /// Nothing for an empty path. \throws MeterError
    static std::unique_ptr<OutputFile>
    openedUnlessEmpty(const std::string& path, AtomicFile::Readers readers = AtomicFile::Readers::owner);

    /// Whether it is written to at once.
    bool isWrittenAtOnce() const { return m_stream != nullptr; }

    /// \throws MeterError
    void write(std::string_view text);

    /// Writes the text and a line break. \throws MeterError
    void writeLine(std::string_view text);

    /// \throws MeterError
    void commit();

private:
    struct CloseStream
    {
        void operator()(std::FILE* stream) const { std::fclose(stream); }
    };

    void check();

    std::string m_path;
    std::unique_ptr<AtomicFile> m_file;
    std::unique_ptr<std::FILE, CloseStream> m_stream;
};

} // namespace velmor
