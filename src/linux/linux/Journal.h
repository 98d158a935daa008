// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <platform/SystemLog.h>

#include <string_view>

namespace velmor {

/// The journal. Subsystem and category are fields of their own, SUBSYSTEM and CATEGORY. Where there is no
/// journal nothing happens.
class Journal final : public SystemLog
{
public:
    void log(std::string_view subsystem, std::string_view category, std::string_view message) override;
};

} // namespace velmor
