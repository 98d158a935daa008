// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/CommandButton.h>

#include <QVBoxLayout>
#include <QWidget>

#include <functional>
#include <initializer_list>
#include <optional>
#include <string>

namespace velmor {

/// Rows that are others in each state of something. Built anew when the state is another. Main thread.
class StateRows final : public QWidget
{
public:
    StateRows();

    /// \param state what the rows are for. \param build adds them.
    void show(const std::string& state, const std::function<void(StateRows&)>& build);

    void add(QWidget* row);
    void addText(const std::string& text, Tint tint = Tint::secondary);

    struct Command
    {
        const char* label;
        std::function<void()> perform;
        bool isEnabled = true;
    };

    /// Beside one another.
    void addCommands(std::initializer_list<Command> commands);

private:
    QVBoxLayout* m_rows;
    std::optional<std::string> m_state;
};

} // namespace velmor
