// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace velmor {

/// The running instance of the program, for a process that hands it something and ends. Where none is
/// running the bus starts one, or, where the bus doesn't know how, the process does. Waits for the answer.
/// Needs a Qt application.
class RunningInstance
{
public:
    /// \param program what to start where the bus can't.
    explicit RunningInstance(std::filesystem::path program);

    /// Hands over URLs, or whatever else the desktop has been given to open. \return whether they arrived;
    /// otherwise a line has been printed.
    bool open(const std::vector<std::string>& urls) const;

    /// Has it do one of its desktop entry's actions. \return whether it was told; otherwise a line has been
    /// printed.
    bool activateAction(const std::string& action) const;

private:
    std::filesystem::path m_program;
};

} // namespace velmor
