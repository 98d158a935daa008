// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <meter/Options.h>
#include <meter/OutputFile.h>
#include <meter/Summary.h>

#include <memory>
#include <string>

namespace velmor {

/// The finished session in the forms in which the program hands it to people.
class ExportFiles
{
public:
    /// Opens the files; an empty path writes none. \throws MeterError
    explicit ExportFiles(const Options& options);

    /// Writes and finishes the files, each also where another one fails.
    /// \return what went wrong first; empty where nothing did.
    std::string write(const AppState& hub, const Summary& summary);

private:
    const Options& m_options;
    std::unique_ptr<OutputFile> m_csv;
    std::unique_ptr<OutputFile> m_timeSeries;
    std::unique_ptr<OutputFile> m_json;
    std::unique_ptr<OutputFile> m_report;
};

} // namespace velmor
