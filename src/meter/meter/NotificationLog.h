// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/MainLoop.h>
#include <meter/OutputFile.h>
#include <platform/NotificationCenter.h>

#include <memory>
#include <string>

namespace velmor {

/// Takes the notifications that a desktop would show, and writes each as one JSON object a line.
class NotificationLog final : public NotificationCenter
{
public:
    /// Opens the file; an empty path writes none. \throws MeterError
    NotificationLog(const MainLoop& loop, const std::string& path);

    // Nobody answers, and nobody has to be asked.
    void setDelegate(NotificationDelegate*) override {}
    void requestAuthorization() override {}
    void setCategories(std::vector<NotificationCategory>) override {}

    void add(const NotificationRequest& request) override;

    /// Finishes the file. \throws MeterError
    void commit();

private:
    const MainLoop& m_loop;
    Date m_start;
    std::unique_ptr<OutputFile> m_file;
};

} // namespace velmor
