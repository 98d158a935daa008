// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/QtMainLoop.h>

#include <QSocketNotifier>

namespace velmor {

class QtMainLoop::Notifier
{
public:
    explicit Notifier(QtMainLoop& loop)
        : m_notifier(loop.descriptor(), QSocketNotifier::Read)
    {
        QObject::connect(&m_notifier, &QSocketNotifier::activated, [&loop] { loop.dispatch(); });
    }

private:
    QSocketNotifier m_notifier;
};

QtMainLoop::QtMainLoop()
    : m_notifier(std::make_unique<Notifier>(*this))
{}

QtMainLoop::~QtMainLoop() = default;

} // namespace velmor
