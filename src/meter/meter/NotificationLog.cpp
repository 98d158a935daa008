// SPDX-License-Identifier: GPL-3.0-or-later
#include <meter/NotificationLog.h>

#include <base/JsonWriter.h>

#include <string_view>

namespace velmor {

NotificationLog::NotificationLog(const MainLoop& loop, const std::string& path)
    : m_loop(loop)
    , m_start(loop.now())
    , m_file(OutputFile::openedUnlessEmpty(path))
{}

void NotificationLog::add(const NotificationRequest& request)
{
    if (!m_file)
        return;
    const bool isCritical = request.sound == NotificationSound::critical;
    const bool isTimeSensitive = request.interruptionLevel == InterruptionLevel::timeSensitive;
    JsonWriter json(JsonWriter::Layout::compact);
    json.beginObject();
    json.member("t", secondsBetween(m_start, m_loop.now()));
    json.member("identifier", std::string_view(request.identifier));
    json.member("category", std::string_view(request.categoryIdentifier));
    json.member("title", std::string_view(request.title));
    json.member("subtitle", std::string_view(request.subtitle));
    json.member("body", std::string_view(request.body));
    json.member("sound", std::string_view(isCritical ? "critical" : "default"));
    json.member("interruptionLevel", std::string_view(isTimeSensitive ? "timeSensitive" : "default"));
    json.endObject();
    m_file->writeLine(json.text().value());
}

void NotificationLog::commit()
{
    if (m_file)
        m_file->commit();
}

} // namespace velmor
