// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Calendar.h>
#include <base/Date.h>

#include <QDate>
#include <QLocale>

#include <memory>
#include <string>

namespace velmor {

/// Days and times as the user's language and country write them. Main thread.
class LocaleDates
{
public:
    explicit LocaleDates(const QLocale& locale = {});
    ~LocaleDates();
    LocaleDates(const LocaleDates&) = delete;
    LocaleDates& operator=(const LocaleDates&) = delete;

    /// The medium form: Mar 1, 2026, or 01.03.2026.
    std::string mediumDate(QDate day) const;

    /// The short form: 9:12 AM, or 09:12.
    std::string shortTime(Date date, const Calendar& calendar) const;

    /// A fixed form of Qt's letters with the language's names.
    std::string text(QDate day, const char* form) const;

    Qt::DayOfWeek firstDayOfWeek() const { return m_locale.firstDayOfWeek(); }

    /// Abbreviated. \param dayOfWeek 1 for Monday to 7.
    std::string weekdayName(int dayOfWeek) const;

private:
    class MediumForm;

    QLocale m_locale;
    std::unique_ptr<MediumForm> m_mediumForm;
};

} // namespace velmor
