// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QObject>
#include <QString>
#include <QVariant>

#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

class QDBusError;

namespace velmor {

/// Whether a call was answered by nobody, which says nothing of what was asked for.
bool isUnanswered(const QDBusError& error);

/// Properties of Xfce's configuration, for as long as they change. What it has stored counts in Xfce's own
/// session only: elsewhere nothing is told. Main thread.
class XfceSettings final : public QObject
{
    Q_OBJECT

public:
    struct Property
    {
        QString channel;
        QString name;

        bool operator==(const Property&) const = default;
    };

    /// \param value absent for a property that there is not. \param hasChanged false for the answer to a
    /// question, as it stood before.
    using Told =
        std::function<void(std::size_t property, const std::optional<QVariant>& value, bool hasChanged)>;

    /// Asks for them, now and whenever the configuration's service comes.
    XfceSettings(std::vector<Property> properties, Told told);

private slots:
    void changed(const QString& channel, const QString& name, const QDBusVariant& value);
    void removed(const QString& channel, const QString& name);

private:
    void ask(std::size_t property);
    void tell(const Property& property, const std::optional<QVariant>& value);

    std::vector<Property> m_properties;
    Told m_told;
    QDBusServiceWatcher m_service;
};

} // namespace velmor
