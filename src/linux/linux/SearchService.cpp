// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/SearchService.h>

#include <linux/BusValues.h>

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMetaType>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

namespace velmor {

namespace {

const QString icon = QStringLiteral("dev.brightfen.velmor");

/// Plasma's kinds of a match: one that is meant, and one that may be.
constexpr int exactMatch = 100;
constexpr int possibleMatch = 30;

} // namespace

/// A match as Plasma reads it: (sssida{sv}).
struct RunnerMatch
{
    QString id;
    QString text;
    QString iconName;
    int type = 0;
    double relevance = 0;
    QVariantMap properties;
};

/// An action on a match: (sss).
struct RunnerAction
{
    QString id;
    QString text;
    QString iconName;
};

QDBusArgument& operator<<(QDBusArgument& argument, const RunnerMatch& match)
{
    argument.beginStructure();
    argument << match.id << match.text << match.iconName << match.type << match.relevance << match.properties;
    argument.endStructure();
    return argument;
}

// Matches and actions are only sent; Qt asks for the way back as well.
const QDBusArgument& operator>>(const QDBusArgument& argument, RunnerMatch& match)
{
    argument.beginStructure();
    argument >> match.id >> match.text >> match.iconName >> match.type >> match.relevance >> match.properties;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const RunnerAction& action)
{
    argument.beginStructure();
    argument << action.id << action.text << action.iconName;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, RunnerAction& action)
{
    argument.beginStructure();
    argument >> action.id >> action.text >> action.iconName;
    argument.endStructure();
    return argument;
}

using RunnerMatches = QList<RunnerMatch>;
using RunnerActions = QList<RunnerAction>;
using ResultMetas = QList<QVariantMap>;

// The names of the slots are the interfaces' own.
class SearchService::ShellProvider final : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.gnome.Shell.SearchProvider2")

public:
    explicit ShellProvider(SearchSource& source)
        : m_source(source)
    {
        QDBusConnection::sessionBus().registerObject(path(), this, QDBusConnection::ExportScriptableSlots);
    }
    ~ShellProvider() override { QDBusConnection::sessionBus().unregisterObject(path()); }

public slots:
    Q_SCRIPTABLE QStringList GetInitialResultSet(const QStringList& terms)
    {
        QStringList ids;
        for (const SearchResult& result : m_source.find(text(terms.join(u' '))))
            ids.push_back(qText(result.id));
        return ids;
    }

    Q_SCRIPTABLE QStringList GetSubsearchResultSet(const QStringList&, const QStringList& terms)
    {
        return GetInitialResultSet(terms);
    }

    Q_SCRIPTABLE velmor::ResultMetas GetResultMetas(const QStringList& ids)
    {
        ResultMetas metas;
        for (const QString& id : ids) {
            if (const auto result = m_source.result(text(id))) {
                metas.push_back({{QStringLiteral("id"), id},
                                 {QStringLiteral("name"), qText(result->title)},
                                 {QStringLiteral("description"), qText(result->subtitle)},
                                 {QStringLiteral("gicon"), icon}});
            }
        }
        return metas;
    }

    Q_SCRIPTABLE void ActivateResult(const QString& id, const QStringList&, uint)
    {
        m_source.choose(text(id));
    }

    // The results are all there are: there is no search of the program's own to open.
    Q_SCRIPTABLE void LaunchSearch(const QStringList&, uint) {}

private:
    static QString path() { return QStringLiteral("/dev/brightfen/velmor/search"); }

    SearchSource& m_source;
};

class SearchService::Runner final : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.krunner1")

public:
    explicit Runner(SearchSource& source)
        : m_source(source)
    {
        QDBusConnection::sessionBus().registerObject(path(), this, QDBusConnection::ExportScriptableSlots);
    }
    ~Runner() override { QDBusConnection::sessionBus().unregisterObject(path()); }

public slots:
    Q_SCRIPTABLE velmor::RunnerActions Actions() { return {}; }

    Q_SCRIPTABLE velmor::RunnerMatches Match(const QString& query)
    {
        RunnerMatches matches;
        for (const SearchResult& result : m_source.find(text(query))) {
            matches.push_back({qText(result.id),
                               qText(result.title),
                               icon,
                               result.relevance >= 1 ? exactMatch : possibleMatch,
                               result.relevance,
                               {{QStringLiteral("subtext"), qText(result.subtitle)}}});
        }
        return matches;
    }

    Q_SCRIPTABLE void Run(const QString& matchID, const QString&) { m_source.choose(text(matchID)); }

private:
    static QString path() { return QStringLiteral("/dev/brightfen/velmor/runner"); }

    SearchSource& m_source;
};

SearchService::SearchService(SearchSource& source)
{
    registerBusTypes();
    qDBusRegisterMetaType<RunnerMatch>();
    qDBusRegisterMetaType<RunnerMatches>();
    qDBusRegisterMetaType<RunnerAction>();
    qDBusRegisterMetaType<RunnerActions>();
    m_shellProvider = std::make_unique<ShellProvider>(source);
    m_runner = std::make_unique<Runner>(source);
}

SearchService::~SearchService() = default;

} // namespace velmor

#include "SearchService.moc"
