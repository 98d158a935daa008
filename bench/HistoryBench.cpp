// SPDX-License-Identifier: GPL-3.0-or-later
// The history of a year: five sessions a day, their readings thinned after two weeks would be fewer, but
// here every session keeps about a hundred. Read into records and written again; Qt's reader of the same
// text into the same records is the baseline.
#include <base/AtomicFile.h>
#include <base/FileText.h>
#include <base/JsonStream.h>
#include <sessions/SessionFormat.h>
#include <support/RunProgram.h>
#include <support/SampleSessions.h>
#include <support/SessionWorld.h>
#include <support/TemporaryFolder.h>
#include <support/YearOfSessions.h>

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velmor {
namespace {

using test::year;
using test::yearSessionCount;

const std::string& yearText()
{
    static const std::string text = encodedHistory(year()).value();
    return text;
}

void setBytes(benchmark::State& state)
{
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(yearText().size()));
    state.counters["MB"] = static_cast<double>(yearText().size()) / 1e6;
}

/// From the file's bytes to the records, in memory.
void read(benchmark::State& state)
{
    for (auto _ : state) {
        state.PauseTiming();
        std::string text;
        text.reserve(yearText().size() + jsonSpareCapacity);
        text = yearText();
        state.ResumeTiming();
        auto sessions = decodedHistory(std::move(text));
        if (sessions.size() != yearSessionCount)
            state.SkipWithError("sessions are missing");
        state.PauseTiming();
        sessions.clear();
        state.ResumeTiming();
    }
    setBytes(state);
}
BENCHMARK(read)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(20);

Date dateFrom(const QJsonValue& value)
{
    return dateFromIsoText(value.toString().toStdString()).value();
}

Session sessionFrom(const QJsonObject& object)
{
    Session session;
    session.id = uuidFromText(object["id"].toString().toStdString()).value();
    session.startDate = dateFrom(object["startDate"]);
    session.endDate = dateFrom(object["endDate"]);
    session.dawName = object["dawName"].toString().toStdString();
    session.averageSPL = object["averageSPL"].toDouble();
    session.peakSPL = object["peakSPL"].toDouble();
    session.doseAccumulated = object["doseAccumulated"].toDouble();
    session.peakDBC = object["peakDBC"].toDouble();
    session.peakCount135 = object["peakCount135"].toInteger();
    session.peakCount140 = object["peakCount140"].toInteger();
    session.peakDBACount115 = object["peakDBACount115"].toInteger();
    session.monitoringTarget = object["monitoringTarget"].toDouble();
    session.monitoringTolerance = object["monitoringTolerance"].toDouble();
    session.timeSilentSec = object["timeSilentSec"].toDouble();
    session.timeUnderSec = object["timeUnderSec"].toDouble();
    session.timeOnTargetSec = object["timeOnTargetSec"].toDouble();
    session.timeOverSec = object["timeOverSec"].toDouble();
    for (const QJsonValue& element : object["readings"].toArray()) {
        const QJsonObject reading = element.toObject();
        session.readings.push_back({dateFrom(reading["timestamp"]), reading["dBA"].toDouble(),
                                    reading["dosePercentageAtTime"].toDouble(), reading["dBC"].toDouble(),
                                    zoneFromRaw(reading["zone"].toString().toStdString())});
    }
    return session;
}

void readByQJsonDocument(benchmark::State& state)
{
    const QByteArray text = QByteArray::fromStdString(yearText());
    for (auto _ : state) {
        std::vector<Session> sessions;
        for (const QJsonValue& element : QJsonDocument::fromJson(text).array())
            sessions.push_back(sessionFrom(element.toObject()));
        if (sessions != decodedHistory(yearText()) && state.iterations() == 0)
            state.SkipWithError("the records differ");
    }
    setBytes(state);
}

/// The document alone, without making records of it.
void parseByQJsonDocument(benchmark::State& state)
{
    const QByteArray text = QByteArray::fromStdString(yearText());
    for (auto _ : state)
        benchmark::DoNotOptimize(QJsonDocument::fromJson(text));
    setBytes(state);
}
BENCHMARK(parseByQJsonDocument)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);
BENCHMARK(readByQJsonDocument)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);

/// Peak memory of a process that reads the file into records.
void peakMemory(benchmark::State& state)
{
    const test::TemporaryFolder folder;
    test::writeFile(folder / "year.json", yearText());
    test::writeFile(folder / "empty.json", "[]");
    const auto peakKiB = [](const std::string& file) {
        return std::stol(test::run({VELMOR_READ_HISTORY, file}).output);
    };
    long peak = 0;
    for (auto _ : state)
        peak = peakKiB(folder / "year.json");
    const double file = static_cast<double>(yearText().size());
    state.counters["peak_MiB"] = static_cast<double>(peak) / 1024;
    state.counters["empty_MiB"] = static_cast<double>(peakKiB(folder / "empty.json")) / 1024;
    state.counters["limit_MiB"] = (2.2 * file) / (1 << 20) + 20;
}
BENCHMARK(peakMemory)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

void write(benchmark::State& state)
{
    for (auto _ : state) {
        auto text = encodedHistory(year());
        if (!text)
            state.SkipWithError("it can't be encoded");
        state.PauseTiming();
        text.reset();
        state.ResumeTiming();
    }
    setBytes(state);
}
BENCHMARK(write)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(20);

/// Encoded and written to a file, all but the sync.
void writeToFile(benchmark::State& state)
{
    const test::TemporaryFolder folder;
    for (auto _ : state) {
        const auto text = encodedHistory(year());
        AtomicFile file(folder / "sessions.json");
        file.write(*text);
        state.PauseTiming();
        (void)file.commit();
        state.ResumeTiming();
    }
    setBytes(state);
}
BENCHMARK(writeToFile)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(10);

/// The text of the CSV export, its statistics included.
void csv(benchmark::State& state)
{
    test::SessionWorld world;
    world.calendar = Calendar::inZone("Europe/Berlin").value();
    const auto manager = world.manager(SessionStorage::nowhere());
    std::size_t bytes = 0;
    for (auto _ : state)
        bytes = manager->csvString(year()).size();
    state.counters["kB"] = static_cast<double>(bytes) / 1e3;
}
BENCHMARK(csv)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(20);

/// The same for a row of every reading.
void timeSeries(benchmark::State& state)
{
    std::size_t bytes = 0;
    for (auto _ : state)
        bytes = SessionManager::timeSeriesString(year()).size();
    state.counters["kB"] = static_cast<double>(bytes) / 1e3;
}
BENCHMARK(timeSeries)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(20);

} // namespace
} // namespace velmor
