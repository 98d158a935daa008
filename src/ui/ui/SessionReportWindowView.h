// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <sessions/Session.h>
#include <ui/SessionReportSharing.h>
#include <ui/SessionReportView.h>

#include <QToolButton>
#include <QWidget>

namespace velmor {

/// A session's report in a window, with what can be done with it.
class SessionReportWindowView final : public QWidget
{
public:
    static constexpr auto title = "Velmor session report";

    SessionReportWindowView(AppState& hub, const Session& session, SessionReportSharing& sharing,
                            QWidget* parent = nullptr);

    const Session& session() const { return m_report->session(); }

    /// Writes the report and offers the ways to pass it on.
    void share();

    /// Writes the report and lets the user save it.
    void save();

private:
    void refresh();
    QToolButton* makeButton(const char* label, const char* symbol, const char* help);
    void changeEvent(QEvent* event) override;
    void showAppearance();

    AppState& m_hub;
    SessionReportSharing& m_sharing;
    SessionReportView* m_report;
    QToolButton* m_shareButton;
    QToolButton* m_saveButton;
    Subscription m_settingsSubscription;
    Subscription m_trustSubscription;
};

} // namespace velmor
