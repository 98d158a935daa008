// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <stdexcept>

namespace velmor {

/// A text is not the JSON that is asked for. The message says why.
class JsonError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

} // namespace velmor
