// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Observable.h>

#include <boost/signals2/signal.hpp>

#include <functional>

namespace velmor {

/// What parts of the program that don't know one another tell each other. Main thread.
class InternalNotifications
{
public:
    /// dev.brightfen.velmor.importCompleted: what an import has written is there.
    void postImportCompleted() { m_importCompleted(); }
    [[nodiscard]] Subscription onImportCompleted(const std::function<void()>& callback)
    {
        return m_importCompleted.connect(callback);
    }

    /// dev.brightfen.velmor.showImporter: the user asks for the import.
    void postShowImporter() { m_showImporter(); }
    [[nodiscard]] Subscription onShowImporter(const std::function<void()>& callback)
    {
        return m_showImporter.connect(callback);
    }

private:
    boost::signals2::signal<void()> m_importCompleted;
    boost::signals2::signal<void()> m_showImporter;
};

} // namespace velmor
