// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/TrayMenu.h>

#include <QDBusAbstractAdaptor>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusError>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QObject>
#include <QStringList>
#include <QTimer>
#include <QVariantMap>

#include <algorithm>
#include <utility>

namespace velmor {

/// An entry and what is below it, as they travel: (ia{sv}av).
struct MenuLayout
{
    int id = 0;
    QVariantMap properties;
    QList<MenuLayout> children;
};

/// One entry's properties: (ia{sv}).
struct MenuItemProperties
{
    int id = 0;
    QVariantMap properties;
};

/// What a host says of an entry: (isvu).
struct MenuEvent
{
    int id = 0;
    QString eventId;
    QDBusVariant data;
    uint timestamp = 0;
};

} // namespace velmor

Q_DECLARE_METATYPE(velmor::MenuLayout)
Q_DECLARE_METATYPE(velmor::MenuItemProperties)
Q_DECLARE_METATYPE(velmor::MenuEvent)

namespace velmor {

QDBusArgument& operator<<(QDBusArgument& argument, const MenuLayout& layout)
{
    argument.beginStructure();
    argument << layout.id << layout.properties;
    argument.beginArray(qMetaTypeId<QDBusVariant>());
    for (const MenuLayout& child : layout.children)
        argument << QDBusVariant(QVariant::fromValue(child));
    argument.endArray();
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, MenuLayout& layout)
{
    // Nobody sends one here.
    argument.beginStructure();
    argument >> layout.id >> layout.properties;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const MenuItemProperties& item)
{
    argument.beginStructure();
    argument << item.id << item.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, MenuItemProperties& item)
{
    argument.beginStructure();
    argument >> item.id >> item.properties;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const MenuEvent& event)
{
    argument.beginStructure();
    argument << event.id << event.eventId << event.data << event.timestamp;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, MenuEvent& event)
{
    argument.beginStructure();
    argument >> event.id >> event.eventId >> event.data >> event.timestamp;
    argument.endStructure();
    return argument;
}

namespace {

/// Marks the places where a label's letters would be taken for access keys.
QString withoutAccessKeys(QString label)
{
    return label.replace(QLatin1Char('_'), QStringLiteral("__"));
}

MenuLayout layoutOf(const std::vector<TrayMenuEntry>& entries)
{
    MenuLayout layout;
    for (const TrayMenuEntry& entry : entries) {
        MenuLayout child = layoutOf(entry.children);
        child.id = entry.id;
        if (entry.label.isEmpty())
            child.properties = {{QStringLiteral("type"), QStringLiteral("separator")}};
        else
            child.properties = {{QStringLiteral("label"), withoutAccessKeys(entry.label)}};
        if (!entry.children.empty())
            child.properties.insert(QStringLiteral("children-display"), QStringLiteral("submenu"));
        layout.children.append(child);
    }
    return layout;
}

const MenuLayout* find(const MenuLayout& layout, int id)
{
    if (layout.id == id)
        return &layout;
    for (const MenuLayout& child : layout.children) {
        if (const MenuLayout* const found = find(child, id))
            return found;
    }
    return nullptr;
}

const TrayMenuEntry* find(const std::vector<TrayMenuEntry>& entries, int id)
{
    for (const TrayMenuEntry& entry : entries) {
        if (entry.id == id)
            return &entry;
        if (const TrayMenuEntry* const found = find(entry.children, id))
            return found;
    }
    return nullptr;
}

void cut(MenuLayout& layout, int depth)
{
    if (depth == 0)
        layout.children.clear();
    for (MenuLayout& child : layout.children)
        cut(child, depth - 1);
}

void collect(const MenuLayout& layout, const QList<int>& ids, QList<MenuItemProperties>& found)
{
    if (ids.isEmpty() || ids.contains(layout.id))
        found.append({layout.id, layout.properties});
    for (const MenuLayout& child : layout.children)
        collect(child, ids, found);
}

} // namespace

/// What stands on the bus.
class TrayMenu::Object final : public QObject, public QDBusContext
{
    // Only so do its adaptors know of the call.
    Q_OBJECT

public:
    std::vector<TrayMenuEntry> entries;
};

class TrayMenu::Adaptor final : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.canonical.dbusmenu")
    Q_PROPERTY(uint Version READ version)
    Q_PROPERTY(QString Status READ status)
    Q_PROPERTY(QString TextDirection READ textDirection)
    Q_PROPERTY(QStringList IconThemePath READ iconThemePath)

public:
    explicit Adaptor(Object& object)
        : QDBusAbstractAdaptor(&object)
        , m_object(object)
    {}

    uint version() const { return 3; }
    QString status() const { return QStringLiteral("normal"); }
    QString textDirection() const { return QStringLiteral("ltr"); }
    QStringList iconThemePath() const { return {}; }

    void changed()
    {
        m_layout = layoutOf(m_object.entries);
        m_layout.properties = {{QStringLiteral("children-display"), QStringLiteral("submenu")}};
        emit LayoutUpdated(++m_revision, 0);
    }

public slots:
    uint GetLayout(int parentId, int recursionDepth, const QStringList&, velmor::MenuLayout& layout)
    {
        const MenuLayout* const found = find(m_layout, parentId);
        if (!found) {
            refuse(parentId);
            return m_revision;
        }
        layout = *found;
        if (recursionDepth >= 0)
            cut(layout, recursionDepth);
        return m_revision;
    }

    QList<velmor::MenuItemProperties> GetGroupProperties(const QList<int>& ids, const QStringList&)
    {
        QList<MenuItemProperties> found;
        collect(m_layout, ids, found);
        return found;
    }

    QDBusVariant GetProperty(int id, const QString& name)
    {
        const MenuLayout* const found = find(m_layout, id);
        if (!found || !found->properties.contains(name)) {
            refuse(id);
            return QDBusVariant(QString());
        }
        return QDBusVariant(found->properties.value(name));
    }

    void Event(int id, const QString& eventId, const QDBusVariant&, uint)
    {
        if (!find(m_layout, id))
            refuse(id);
        else
            happened(id, eventId);
    }

    QList<int> EventGroup(const QList<velmor::MenuEvent>& events)
    {
        QList<int> idErrors;
        for (const MenuEvent& event : events) {
            if (find(m_layout, event.id))
                happened(event.id, event.eventId);
            else
                idErrors.append(event.id);
        }
        return idErrors;
    }

    bool AboutToShow(int id)
    {
        if (!find(m_layout, id))
            refuse(id);
        return false;
    }

    QList<int> AboutToShowGroup(const QList<int>& ids, QList<int>& idErrors)
    {
        for (const int id : ids) {
            if (!find(m_layout, id))
                idErrors.append(id);
        }
        return {};
    }

signals:
    void LayoutUpdated(uint revision, int parent);
    void ItemActivationRequested(int id, uint timestamp);

private:
    void happened(int id, const QString& eventId)
    {
        const TrayMenuEntry* const entry = find(m_object.entries, id);
        if (eventId != QStringLiteral("clicked") || !entry || !entry->perform)
            return;
        // The host has its answer before the program does something that takes time, or ends.
        QTimer::singleShot(0, this, entry->perform);
    }

    void refuse(int id)
    {
        if (m_object.calledFromDBus())
            m_object.sendErrorReply(QDBusError::InvalidArgs, QStringLiteral("There is no %1.").arg(id));
    }

    Object& m_object;
    MenuLayout m_layout;
    uint m_revision = 0;
};

bool lookAlike(const std::vector<TrayMenuEntry>& one, const std::vector<TrayMenuEntry>& other)
{
    return std::ranges::equal(one, other, [](const TrayMenuEntry& a, const TrayMenuEntry& b) {
        return a.label == b.label && lookAlike(a.children, b.children);
    });
}

TrayMenu::TrayMenu()
    : m_object(std::make_unique<Object>())
    , m_adaptor(nullptr)
{
    qDBusRegisterMetaType<MenuLayout>();
    qDBusRegisterMetaType<MenuItemProperties>();
    qDBusRegisterMetaType<QList<MenuItemProperties>>();
    qDBusRegisterMetaType<MenuEvent>();
    qDBusRegisterMetaType<QList<MenuEvent>>();
    qDBusRegisterMetaType<QList<int>>();
    m_adaptor = new Adaptor(*m_object);
    QDBusConnection::sessionBus().registerObject(QString::fromLatin1(objectPath), m_object.get());
}

TrayMenu::~TrayMenu()
{
    QDBusConnection::sessionBus().unregisterObject(QString::fromLatin1(objectPath));
}

void TrayMenu::show(std::vector<TrayMenuEntry> entries)
{
    m_object->entries = std::move(entries);
    m_adaptor->changed();
}

} // namespace velmor

#include "TrayMenu.moc"
