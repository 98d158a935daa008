// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <platform/ShareServices.h>

#include <filesystem>

namespace velmor::test {

/// A desktop that can pass no file on.
struct NoShareServices final : ShareServices
{
    bool sendByEmail(const std::filesystem::path&) override { return false; }
    bool open(const std::filesystem::path&) override { return false; }
    bool showInFileManager(const std::filesystem::path&) override { return false; }
};

} // namespace velmor::test
