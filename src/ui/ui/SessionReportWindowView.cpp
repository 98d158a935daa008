// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/SessionReportWindowView.h>

#include <base/Print.h>
#include <ui/IconResolver.h>
#include <ui/Style.h>

#include <QApplication>
#include <QDialog>
#include <QEvent>
#include <QHBoxLayout>
#include <QScrollArea>
#include <QStyle>
#include <QVBoxLayout>

#include <fmt/format.h>

#include <algorithm>

namespace velmor {

namespace {

constexpr int leastWidth = 752;
constexpr int leastHeight = 600;
constexpr int padding = 12;

constexpr auto shareSymbol = "square.and.arrow.up";
constexpr auto saveSymbol = "square.and.arrow.down";

/// A dialog goes soon, and what belongs to it with it: the window that it belongs to stays.
QWidget* lastingWindow(QWidget* window)
{
    while (qobject_cast<QDialog*>(window) && window->parentWidget())
        window = window->parentWidget()->window();
    return window;
}

bool canBeAnchor(const QWidget* window)
{
    return window->isVisible() && (window->windowType() == Qt::Window || window->windowType() == Qt::Dialog);
}

/// The window that the user is in, or else the first there is, which is the view's own where it has one.
QWidget* anchorWindow(const QWidget& view)
{
    if (QWidget* const window = QApplication::activeWindow())
        return lastingWindow(window);
    if (view.window()->isVisible())
        return view.window();
    const QWidgetList windows = QApplication::topLevelWidgets();
    const auto found = std::ranges::find_if(windows, canBeAnchor);
    return found != windows.end() ? lastingWindow(*found) : nullptr;
}

} // namespace

SessionReportWindowView::SessionReportWindowView(AppState& hub, const Session& session,
                                                 SessionReportSharing& sharing, QWidget* parent)
    : QWidget(parent)
    , m_hub(hub)
    , m_sharing(sharing)
    , m_report(new SessionReportView(session, hub.referenceTracker.settings, sharing.circumstances()))
    , m_shareButton(makeButton("Share…", shareSymbol,
                               "Render the report as a PDF and pick a destination from the Share menu."))
    , m_saveButton(makeButton("Save…", saveSymbol, "Save the report as a PDF to a chosen location."))
{
    m_report->setObjectName(QStringLiteral("report"));

    auto* const tools = new QHBoxLayout;
    tools->setContentsMargins(padding, padding / 2, padding, padding / 2);
    tools->addStretch();
    tools->addWidget(m_shareButton);
    tools->addWidget(m_saveButton);
    connect(m_shareButton, &QToolButton::clicked, this, [this] { share(); });
    connect(m_saveButton, &QToolButton::clicked, this, [this] { save(); });

    m_saveButton->setShortcut(QKeySequence::Save);

    auto* const sheet = new QWidget;
    auto* const sheetLayout = new QVBoxLayout(sheet);
    sheetLayout->setContentsMargins(padding, padding, padding, padding);
    sheetLayout->addWidget(m_report, 0, Qt::AlignHCenter | Qt::AlignTop);
    auto* const scroll = new QScrollArea;
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setWidget(sheet);

    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(tools);
    layout->addWidget(scroll);
    // The page and a scroll bar beside it have to fit.
    const int withScrollBar = static_cast<int>(SessionReportView::pageWidth) + 2 * padding +
                              style()->pixelMetric(QStyle::PM_ScrollBarExtent);
    setMinimumSize(std::max(leastWidth, withScrollBar), leastHeight);

    m_settingsSubscription =
        hub.referenceTracker.settings.subscribe([this](const ReferenceLevelSettings&) { refresh(); });
    m_trustSubscription =
        hub.calibrationTrust.trust.subscribe([this](const CalibrationTrust&) { refresh(); });
    showAppearance();
}

QToolButton* SessionReportWindowView::makeButton(const char* label, const char* symbol, const char* help)
{
    auto* const button = new QToolButton;
    button->setText(QString::fromUtf8(label));
    button->setToolTip(QString::fromUtf8(help));
    button->setAccessibleDescription(QString::fromUtf8(help));
    button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::StrongFocus);
    button->setObjectName(QString::fromLatin1(symbol));
    return button;
}

void SessionReportWindowView::refresh()
{
    m_report->refresh(m_hub.referenceTracker.settings, m_sharing.circumstances());
}

void SessionReportWindowView::share()
{
    if (!anchorWindow(*this)) {
        printLine("Share: no window to anchor share picker from");
        return;
    }
    refresh();
    const Session& session = m_report->session();
    m_sharing.shareOrWarn(
        session, m_hub.referenceTracker.settings, *m_shareButton,
        fmt::format("Velmor session report ({})", session.dawName.empty() ? "Manual" : session.dawName));
}

void SessionReportWindowView::save()
{
    QWidget* const anchor = anchorWindow(*this);
    if (!anchor) {
        printLine("Save: no window to anchor save panel from");
        return;
    }
    refresh();
    m_sharing.presentSaveDialog(m_report->session(), m_hub.referenceTracker.settings, anchor);
}

void SessionReportWindowView::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::PaletteChange)
        showAppearance();
    QWidget::changeEvent(event);
}

void SessionReportWindowView::showAppearance()
{
    const QColor colour = palette().color(QPalette::ButtonText);
    m_shareButton->setIcon(IconResolver::icon(shareSymbol, colour));
    m_saveButton->setIcon(IconResolver::icon(saveSymbol, colour));
}

} // namespace velmor
