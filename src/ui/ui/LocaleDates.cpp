// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/LocaleDates.h>

#include <base/Print.h>

#include <QDateTime>
#include <QTime>

#include <unicode/datefmt.h>
#include <unicode/locid.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>

namespace velmor {

/// Qt knows a long and a short form of dates, and none between.
class LocaleDates::MediumForm
{
public:
    explicit MediumForm(const QLocale& locale)
        : m_format(icu::DateFormat::createDateInstance(icu::DateFormat::kMedium,
                                                       icu::Locale(locale.name().toLatin1().constData())))
    {
        if (!m_format)
            stopOnProgrammingError("the locale has no dates");
        m_format->setTimeZone(*icu::TimeZone::getGMT());
    }

    std::string text(QDate day) const
    {
        icu::UnicodeString text;
        m_format->format(static_cast<double>(day.startOfDay(Qt::UTC).toMSecsSinceEpoch()), text);
        std::string result;
        return text.toUTF8String(result);
    }

private:
    std::unique_ptr<icu::DateFormat> m_format;
};

LocaleDates::LocaleDates(const QLocale& locale)
    : m_locale(locale)
    , m_mediumForm(std::make_unique<MediumForm>(locale))
{}

LocaleDates::~LocaleDates() = default;

std::string LocaleDates::mediumDate(QDate day) const
{
    return m_mediumForm->text(day);
}

std::string LocaleDates::shortTime(Date date, const Calendar& calendar) const
{
    const LocalTime time = calendar.localTime(date);
    // Without a language Qt's short form has seconds.
    const QString form = m_locale.language() == QLocale::C ? QStringLiteral("HH:mm")
                                                           : m_locale.timeFormat(QLocale::ShortFormat);
    return m_locale.toString(QTime(time.hour, time.minute), form).toStdString();
}

std::string LocaleDates::text(QDate day, const char* form) const
{
    return m_locale.toString(day, QString::fromLatin1(form)).toStdString();
}

std::string LocaleDates::weekdayName(int dayOfWeek) const
{
    return m_locale.standaloneDayName(dayOfWeek, QLocale::ShortFormat).toStdString();
}

} // namespace velmor
