// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/UpdateWindow.h>

#include <ui/IconResolver.h>
#include <ui/Style.h>

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPixmap>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>

#include <utility>
#include <variant>

namespace velmor {

namespace {

constexpr int textWidth = 380;
constexpr int notesHeight = 180;
constexpr int iconSize = 48;

struct Texts
{
    QString title;
    QString line;
};

QString qt(const std::string& text)
{
    return QString::fromStdString(text);
}

Texts textsOf(const UpdateOutcome& outcome)
{
    if (const auto* const update = std::get_if<AvailableUpdate>(&outcome))
        return {QStringLiteral("Velmor %1 is available").arg(qt(update->version)),
                QStringLiteral("Your package manager or the download page has it. Nothing is installed by "
                               "itself.")};
    if (const auto* const current = std::get_if<UpToDate>(&outcome))
        return {QStringLiteral("Velmor is up to date"),
                QStringLiteral("%1 is the newest version.").arg(qt(current->version))};
    return {QStringLiteral("Could not check for updates"), qt(std::get<UpdateCheckFailure>(outcome).reason)};
}

QLabel* label(const QString& text, TextStyle style, TextWeight weight)
{
    auto* const widget = new QLabel;
    // What comes from outside is never taken for markup.
    widget->setTextFormat(Qt::PlainText);
    widget->setText(text);
    widget->setFont(fontOf(style, weight));
    widget->setWordWrap(true);
    widget->setFixedWidth(textWidth);
    return widget;
}

} // namespace

UpdateWindow::UpdateWindow(const UpdateOutcome& outcome, std::function<void(const std::string& url)> openPage)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowFlags(Qt::Dialog);
    setWindowTitle(QStringLiteral("Velmor Updates"));
    auto* const icon = new QLabel;
    icon->setPixmap(IconResolver::applicationIcon().pixmap(iconSize));
    auto* const texts = new QVBoxLayout;
    texts->setSpacing(static_cast<int>(spacing::tight));
    const Texts said = textsOf(outcome);
    texts->addWidget(label(said.title, TextStyle::heading, TextWeight::strong));
    texts->addWidget(label(said.line, TextStyle::label, TextWeight::regular));
    auto* const buttons = new QDialogButtonBox;
    if (const auto* const update = std::get_if<AvailableUpdate>(&outcome)) {
        if (!update->notes.empty()) {
            auto* const notes = new QPlainTextEdit(qt(update->notes));
            notes->setReadOnly(true);
            notes->setTabChangesFocus(true);
            notes->setFixedHeight(notesHeight);
            notes->setAccessibleName(QStringLiteral("What is new"));
            texts->addWidget(notes);
        }
        auto* const open =
            buttons->addButton(QStringLiteral("Open Download Page"), QDialogButtonBox::AcceptRole);
        connect(open, &QPushButton::clicked, this,
                [this, openPage = std::move(openPage), page = update->page] {
                    openPage(page);
                    close();
                });
        buttons->addButton(QStringLiteral("Later"), QDialogButtonBox::RejectRole);
        open->setAutoDefault(true);
        open->setFocus();
    } else {
        QPushButton* const ok = buttons->addButton(QDialogButtonBox::Ok);
        ok->setAutoDefault(true);
        ok->setFocus();
        connect(buttons, &QDialogButtonBox::accepted, this, &QWidget::close);
    }
    connect(buttons, &QDialogButtonBox::rejected, this, &QWidget::close);
    connect(new QShortcut(QKeySequence(Qt::Key_Escape), this), &QShortcut::activated, this, &QWidget::close);

    auto* const top = new QHBoxLayout;
    top->setSpacing(static_cast<int>(spacing::group));
    top->addWidget(icon, 0, Qt::AlignTop);
    top->addLayout(texts);
    auto* const layout = new QVBoxLayout(this);
    constexpr int padding = static_cast<int>(spacing::group);
    layout->setContentsMargins(padding, padding, padding, padding);
    layout->setSpacing(padding);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addLayout(top);
    layout->addWidget(buttons);
}

} // namespace velmor
