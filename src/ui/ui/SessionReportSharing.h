// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <discipline/ReferenceLevelSettings.h>
#include <platform/ShareServices.h>
#include <sessions/Session.h>
#include <ui/SessionReportContent.h>
#include <ui/SessionReportPdf.h>

#include <QWidget>

#include <filesystem>
#include <optional>
#include <string>

namespace velmor {

/// Makes a session's report a PDF in the cache folder, and hands it to the user. Main thread.
class SessionReportSharing
{
public:
    /// Keeps what a shared report would be about. No service of the desktop asks for it.
    struct SubjectDelegate
    {
        static SubjectDelegate& shared();

        std::string subject;
    };

    /// \param caches the user's folder for what can be made again.
    SessionReportSharing(const AppState& hub, ShareServices& services, std::filesystem::path caches);

    /// What a report is made under at this moment.
    ReportCircumstances circumstances() const;

    /// Writes the PDF, over an earlier one of the same session. \return where it is.
    /// \throws SharingError, std::system_error
    std::filesystem::path writePDF(const Session& session,
                                   const ReferenceLevelSettings& referenceSettings) const;

    /// Offers the ways to pass the file on, at the lower edge of a view.
    void presentSharePicker(const std::filesystem::path& file, QWidget& anchor,
                            const std::optional<std::string>& subject);

    /// Writes the PDF and offers the ways to pass it on. \throws as writePDF() does.
    void renderAndShare(const Session& session, const ReferenceLevelSettings& referenceSettings,
                        QWidget& anchor);

    /// The same with a warning, and a printed line, where that fails.
    void shareOrWarn(const Session& session, const ReferenceLevelSettings& referenceSettings, QWidget& anchor,
                     const std::optional<std::string>& subject);

    /// Writes the PDF and lets the user save it. A failure to write it is printed. One to save it is shown.
    /// \param anchor the panel comes up on its window; null for none.
    void presentSaveDialog(const Session& session, const ReferenceLevelSettings& referenceSettings,
                           QWidget* anchor) const;

private:
    const AppState& m_hub;
    ShareServices& m_services;
    std::filesystem::path m_folder;
};

/// A warning on a view's window.
void showWarning(QWidget* anchor, const std::string& title, const std::string& text);

} // namespace velmor
