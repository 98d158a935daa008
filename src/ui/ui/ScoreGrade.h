// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/Style.h>

namespace velmor {

/// How a share of time on target is to be taken.
enum class ScoreGrade { good, fair, poor, unknown };

/// \param share 0 to 100. Good from 70 %, fair from 40 %.
inline ScoreGrade gradeOf(double share)
{
    constexpr double leastGood = 70.0;
    constexpr double leastFair = 40.0;
    if (share >= leastGood)
        return ScoreGrade::good;
    return share >= leastFair ? ScoreGrade::fair : ScoreGrade::poor;
}

inline Tint tintOf(ScoreGrade grade)
{
    switch (grade) {
    case ScoreGrade::good:
        return Tint::green;
    case ScoreGrade::fair:
        return Tint::yellow;
    case ScoreGrade::poor:
        return Tint::orange;
    case ScoreGrade::unknown:
        break;
    }
    return Tint::secondary;
}

} // namespace velmor
