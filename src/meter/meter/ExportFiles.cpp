// SPDX-License-Identifier: GPL-3.0-or-later
#include <meter/ExportFiles.h>

#include <meter/MeterError.h>
#include <ui/SessionReportPdf.h>

#include <QApplication>
#include <QtGlobal>

#include <array>
#include <chrono>
#include <cstdio>
#include <exception>
#include <span>

namespace velmor {

namespace {

std::unique_ptr<OutputFile> opened(const std::string& path)
{
    return OutputFile::openedUnlessEmpty(path, AtomicFile::Readers::asUsual);
}

/// What Qt has to say about the machine is no news of the measurement, unless it is Qt's last word.
class QuietQt
{
public:
    QuietQt()
        : m_before(qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString& text) {
            if (type == QtFatalMsg)
                std::fprintf(stderr, "velmor-meter: %s\n", qUtf8Printable(text));
        }))
    {}
    ~QuietQt() { qInstallMessageHandler(m_before); }
    QuietQt(const QuietQt&) = delete;
    QuietQt& operator=(const QuietQt&) = delete;

private:
    QtMessageHandler m_before;
};

/// Draws the report where there is no display.
std::string reportOf(const Session& session, const AppState& hub, const Options& options,
                     CalibrationTrust calibration)
{
    const QuietQt quiet;
    // As arguments, not in the environment, which another thread may be reading.
    std::array<std::string, 3> words = {"velmor-meter", "-platform", "offscreen"};
    std::array<char*, words.size() + 1> arguments = {};
    for (std::size_t i = 0; i < words.size(); ++i)
        arguments[i] = words[i].data();
    int argumentCount = static_cast<int>(words.size());
    QApplication::setDesktopSettingsAware(false);
    const QApplication application(argumentCount, arguments.data());
    // The clock of a file says nothing about when its offset was found.
    calibration.date.reset();
    return sessionReportPdf(session, hub.referenceTracker.settings,
                            {std::chrono::system_clock::now(), options.calendar, calibration});
}

} // namespace

ExportFiles::ExportFiles(const Options& options)
    : m_options(options)
    , m_csv(opened(options.csvPath))
    , m_timeSeries(opened(options.timeSeriesPath))
    , m_json(opened(options.sessionJsonPath))
    , m_report(opened(options.reportPath))
{}

std::string ExportFiles::write(const AppState& hub, const Summary& summary)
{
    const std::span<const Session> session(&summary.session, 1);
    std::string failure;
    const auto writeTo = [&failure](const std::unique_ptr<OutputFile>& file, const auto& content) {
        if (!file)
            return;
        try {
            const std::string text = content();
            file->write(text);
            // On a terminal other lines follow.
            if (file->isWrittenAtOnce() && !text.ends_with('\n'))
                file->write("\n");
            file->commit();
        } catch (const std::exception& error) {
            if (failure.empty())
                failure = error.what();
        }
    };
    writeTo(m_csv, [&] { return hub.sessionManager.csvString(session); });
    writeTo(m_timeSeries, [&] { return SessionManager::timeSeriesString(session); });
    writeTo(m_json, [&] {
        const auto json = SessionManager::jsonString(session);
        if (!json)
            throw MeterError("the session has a number that is not finite");
        return *json;
    });
    writeTo(m_report, [&] { return reportOf(summary.session, hub, m_options, summary.calibration); });
    return failure;
}

} // namespace velmor
