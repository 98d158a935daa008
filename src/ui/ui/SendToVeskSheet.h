// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Uuid.h>
#include <integrations/VeskIntegration.h>
#include <ui/CommandButton.h>

#include <QButtonGroup>
#include <QDialog>
#include <QLineEdit>

#include <string>

namespace velmor {

/// What is handed to a reference slot.
struct SendToVeskContext
{
    Uuid id{};
    double measuredSPL = 0; ///< dB SPL
    std::string suggestedName;
};

/// Asks for the slot and the name that a calibration is handed on with. Main thread.
class SendToVeskSheet final : public QDialog
{
public:
    static constexpr int width = 380;

    /// Deletes itself when it is closed.
    SendToVeskSheet(const SendToVeskContext& context, VeskIntegration& vesk, QWidget* parent);

private:
    QWidget* makeSlots();
    QWidget* makeButtons();
    void send();
    std::string trimmedName() const;
    void changeEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

    SendToVeskContext m_context;
    VeskIntegration& m_vesk;
    QButtonGroup* m_slots;
    QLineEdit* m_name;
    CommandButton* m_send;
};

} // namespace velmor
