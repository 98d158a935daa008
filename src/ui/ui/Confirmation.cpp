// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/Confirmation.h>

#include <ui/Card.h>
#include <ui/Style.h>
#include <ui/TextLabel.h>

#include <QAccessible>
#include <QEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

#include <utility>

namespace velmor {

namespace {

constexpr double veilOpacity = 0.82;
constexpr int padding = static_cast<int>(spacing::group);
constexpr int widestCard = 312;

} // namespace

Confirmation::Confirmation(QWidget& owner, const char* question, const char* answer,
                           std::function<void()> perform)
    : QWidget(&owner)
    , m_perform(std::move(perform))
    , m_card(new Card)
    , m_cancel(new QPushButton(QStringLiteral("Cancel")))
    , m_confirm(new QPushButton(QString::fromLatin1(answer)))
{
    setAccessibleName(QString::fromLatin1(question));
    auto* const buttons = new QHBoxLayout;
    buttons->setSpacing(static_cast<int>(spacing::tight));
    for (QPushButton* const button : {m_cancel, m_confirm}) {
        button->setFont(fontOf(TextStyle::label, TextWeight::strong));
        button->setAutoDefault(true);
        button->setAccessibleDescription(QString::fromLatin1(question));
        buttons->addWidget(button, 1);
    }
    auto* const inner = new QVBoxLayout(m_card);
    inner->setContentsMargins(padding, padding, padding, padding);
    inner->setSpacing(padding);
    inner->addWidget(new TextLabel(question, TextStyle::heading, TextWeight::strong, Tint::primary), 0,
                     Qt::AlignHCenter);
    inner->addLayout(buttons);

    auto* const layout = new QVBoxLayout(this);
    layout->addStretch();
    m_card->setMaximumWidth(widestCard);
    auto* const middle = new QHBoxLayout;
    middle->addWidget(m_card);
    layout->addLayout(middle);
    layout->addStretch();

    connect(m_cancel, &QPushButton::clicked, this, [this] { cancel(); });
    connect(m_confirm, &QPushButton::clicked, this, [this] {
        hide();
        m_perform();
    });
    owner.installEventFilter(this);
    showAppearance();
    hide();
}

void Confirmation::ask()
{
    m_focusBefore = window()->focusWidget();
    show();
    takePlace();
    raise();
    QAccessibleEvent alert(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
    m_cancel->setFocus();
}

/// Covers the owner, with the card in the middle of what is seen of it on a low screen.
void Confirmation::takePlace()
{
    setGeometry(parentWidget()->rect());
    const QRect seen = visibleRegion().boundingRect();
    const QRect place = seen.isEmpty() ? rect() : seen;
    layout()->setContentsMargins(padding, place.top() + padding, padding,
                                 rect().bottom() - place.bottom() + padding);
}

void Confirmation::cancel()
{
    hide();
}

bool Confirmation::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Resize && isVisible())
        takePlace();
    else if (event->type() == QEvent::Hide)
        hide();
    return QWidget::eventFilter(watched, event);
}

/// What lies below is out of reach while the question stands.
bool Confirmation::focusNextPrevChild(bool isNext)
{
    // Once it is hidden the keyboard goes elsewhere.
    if (!isVisible())
        return QWidget::focusNextPrevChild(isNext);
    (m_cancel->hasFocus() ? m_confirm : m_cancel)->setFocus(Qt::TabFocusReason);
    return true;
}

void Confirmation::hideEvent(QHideEvent* event)
{
    if (m_focusBefore && m_focusBefore->isVisible())
        m_focusBefore->setFocus();
    else if (QWidget* const focused = focusWidget())
        focused->clearFocus();
    m_focusBefore = nullptr;
    QWidget::hideEvent(event);
}

void Confirmation::keyPressEvent(QKeyEvent* event)
{
    // The window that it lies over may close on the same key.
    if (event->key() == Qt::Key_Escape)
        cancel();
    else
        QWidget::keyPressEvent(event);
}

void Confirmation::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::PaletteChange)
        showAppearance();
    QWidget::changeEvent(event);
}

void Confirmation::showAppearance()
{
    const Shades& shades = shadesOf(appearanceOf(palette()));
    const QColor onRed = Qt::white;
    const QColor destructive("#c62f25");
    m_cancel->setStyleSheet(filledButtonStyle(shades.controlPressed, shades.text, shades.blue));
    m_confirm->setStyleSheet(filledButtonStyle(destructive, onRed, shades.text));
}

void Confirmation::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), withOpacity(shadesOf(appearanceOf(palette())).page, veilOpacity));
}

} // namespace velmor
