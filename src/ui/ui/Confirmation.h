// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPointer>
#include <QWidget>

#include <functional>

class QPushButton;

namespace velmor {

/// Asks before something is lost. Lies over the view that it belongs to, so that it can be asked in a window
/// that closes on a click outside.
class Confirmation final : public QWidget
{
public:
    /// \param answer what the button says that does it. \param perform what the user then wants done.
    Confirmation(QWidget& owner, const char* question, const char* answer, std::function<void()> perform);

    void ask();

    /// As if the user had thought better of it.
    void cancel();

private:
    bool eventFilter(QObject* watched, QEvent* event) override;
    bool focusNextPrevChild(bool isNext) override;
    void hideEvent(QHideEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;
    void takePlace();
    void showAppearance();

    std::function<void()> m_perform;
    QWidget* m_card;
    QPushButton* m_cancel;
    QPushButton* m_confirm;
    QPointer<QWidget> m_focusBefore;
};

} // namespace velmor
