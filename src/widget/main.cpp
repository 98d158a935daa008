// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/Calendar.h>
#include <integrations/VelmorWidgetSnapshot.h>
#include <linux/ApplicationName.h>
#include <linux/BusWidgetCenter.h>
#include <linux/Directories.h>
#include <linux/QtMainLoop.h>
#include <linux/SqliteDefaultsReader.h>
#include <linux/StandardStreams.h>
#include <widget/WidgetLine.h>

#include <CLI/CLI.hpp>
#include <QCoreApplication>
#include <QDBusConnection>
#include <QObject>

#include <cerrno>
#include <cstdlib>

namespace {

using namespace velmor;

/// What the command line asks for.
struct Wanted
{
    bool isJson = false;
    bool isWatch = false;
    bool isSample = false;
};

/// Prints a line for the record, and in time the next one.
class Widget final : public QObject
{
    Q_OBJECT

public:
    Widget(MainLoop& loop, const DefaultsReader& suite, const Wanted& wanted)
        : m_loop(loop)
        , m_suite(suite)
        , m_wanted(wanted)
    {}

public slots:
    /// Reads the record and prints its line, and again when the record makes another one.
    void show()
    {
        const Calendar calendar = Calendar::current();
        const VelmorWidgetSnapshot snapshot = m_wanted.isSample ? VelmorWidgetSnapshot::sample(m_loop.now())
                                                                : VelmorWidgetSnapshot::load(m_suite);
        const WidgetLine line(snapshot, calendar, m_loop.now());
        // A bar that has gone away needs no more of them.
        if (!writeLine(m_wanted.isJson ? line.json() : line.text()))
            std::_Exit(m_wanted.isWatch && errno == EPIPE ? EXIT_SUCCESS : EXIT_FAILURE);
        const auto until = line.validUntil();
        m_change = until ? m_loop.at(*until, [this] { show(); }) : nullptr;
    }

private:
    MainLoop& m_loop;
    const DefaultsReader& m_suite;
    const Wanted& m_wanted;
    Timer m_change;
};

} // namespace

int main(int argumentCount, char** arguments)
{
    prepareStandardStreams();
    CLI::App program("Shows the day's noise dose and the live level in a line.");
    Wanted wanted;
    program.add_flag("--json", wanted.isJson, "Print JSON as Waybar's custom module reads it");
    program.add_flag("--watch", wanted.isWatch, "Stay, and print a new line whenever there is another one");
    program.add_flag("--sample", wanted.isSample, "Show a made-up record");
    CLI11_PARSE(program, argumentCount, arguments);

    const QCoreApplication application(argumentCount, arguments);
    QtMainLoop loop;
    const SqliteDefaultsReader suite(
        ProgramFolders::in(BaseFolders::current()).suite(VelmorWidgetSnapshot::appGroupID));
    Widget widget(loop, suite, wanted);
    if (wanted.isWatch) {
        // Listens before it reads: what is written in between is told.
        QDBusConnection bus = QDBusConnection::sessionBus();
        bus.connect(QString::fromLatin1(ApplicationName::busName),
                    QString::fromLatin1(ApplicationName::objectPath),
                    QString::fromLatin1(BusWidgetCenter::interfaceName),
                    QString::fromLatin1(BusWidgetCenter::reloadSignal), &widget, SLOT(show()));
        bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                    QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), qApp,
                    SLOT(quit()));
    }
    widget.show();
    return wanted.isWatch ? QCoreApplication::exec() : EXIT_SUCCESS;
}

#include "main.moc"
