// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <discipline/ReferenceLevelSettings.h>
#include <sessions/Session.h>
#include <ui/SessionReportContent.h>

#include <stdexcept>
#include <string>

namespace velmor {

/// A report could not be brought to paper.
class SharingError : public std::runtime_error
{
public:
    /// There is nothing to draw the page on.
    static SharingError contextCreationFailed() { return SharingError("The PDF could not be created"); }

private:
    using std::runtime_error::runtime_error;
};

/// A session's report as a PDF: one page of the report's own size, vectors and text, in the colours for
/// paper. Needs a QApplication, but no display. \throws SharingError, and what qpdf throws.
std::string sessionReportPdf(const Session& session, const ReferenceLevelSettings& referenceSettings,
                             const ReportCircumstances& circumstances);

} // namespace velmor
