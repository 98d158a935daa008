// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <stdexcept>

namespace velmor {

/// Bad input or a refusing host: the text is the one line that the user gets, the exit status is 2.
class MeterError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

} // namespace velmor
