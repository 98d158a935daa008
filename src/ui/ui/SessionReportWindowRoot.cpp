// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/SessionReportWindowRoot.h>

#include <ui/Style.h>

#include <QLabel>
#include <QShortcut>

#include <algorithm>

namespace velmor {

namespace {

constexpr auto title = "Velmor Session Report";
constexpr int defaultWidth = 760;
constexpr int defaultHeight = 720;

} // namespace

SessionReportWindowRoot::SessionReportWindowRoot(AppState& hub, std::optional<Uuid> id,
                                                 SessionReportSharing& sharing, QWidget* parent)
    : QWidget(parent)
    , m_hub(hub)
    , m_id(id)
    , m_sharing(sharing)
    , m_layout(new QStackedLayout(this))
{
    auto* const notFound =
        new QLabel(QStringLiteral("Session not found. It may have been pruned by the retention setting."));
    notFound->setWordWrap(true);
    notFound->setAlignment(Qt::AlignCenter);
    notFound->setMargin(static_cast<int>(spacing::group));
    notFound->setForegroundRole(QPalette::PlaceholderText);
    m_layout->addWidget(notFound);
    for (const QKeySequence& keys : {QKeySequence(QKeySequence::Close), QKeySequence(Qt::Key_Escape)})
        connect(new QShortcut(keys, this), &QShortcut::activated, this, [this] { close(); });
    m_historySubscription =
        hub.sessionManager.sessionHistory.subscribe([this](const std::vector<Session>&) { follow(); });
    follow();
    resize(defaultWidth, defaultHeight);
}

void SessionReportWindowRoot::follow()
{
    const std::vector<Session>& history = m_hub.sessionManager.sessionHistory;
    const auto session = m_id ? std::ranges::find(history, *m_id, &Session::id) : history.end();
    const bool isThere = session != history.end();
    if (m_report && isThere && m_report->session() == *session)
        return;
    // It may be its own menu that has led here.
    if (m_report)
        m_report->deleteLater();
    m_report = nullptr;
    setWindowTitle(QString::fromLatin1(isThere ? SessionReportWindowView::title : title));
    m_layout->setCurrentIndex(0);
    if (!isThere)
        return;
    m_report = new SessionReportWindowView(m_hub, *session, m_sharing);
    m_layout->setCurrentWidget(m_layout->widget(m_layout->addWidget(m_report)));
    setMinimumSize(m_report->minimumSize());
    resize(size().expandedTo(m_report->minimumSize()));
}

} // namespace velmor
