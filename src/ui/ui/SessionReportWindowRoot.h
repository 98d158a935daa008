// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <base/Uuid.h>
#include <ui/SessionReportSharing.h>
#include <ui/SessionReportWindowView.h>

#include <QStackedLayout>
#include <QWidget>

#include <optional>

namespace velmor {

/// The report window of a session, for as long as the history has that session.
class SessionReportWindowRoot final : public QWidget
{
public:
    /// \param id absent for a window that was opened for no session.
    SessionReportWindowRoot(AppState& hub, std::optional<Uuid> id, SessionReportSharing& sharing,
                            QWidget* parent = nullptr);

private:
    void follow();

    AppState& m_hub;
    std::optional<Uuid> m_id;
    SessionReportSharing& m_sharing;
    QStackedLayout* m_layout;
    SessionReportWindowView* m_report = nullptr; ///< Null while the session is not there.
    Subscription m_historySubscription;
};

} // namespace velmor
