// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/Lifetime.h>

#include <gtest/gtest.h>

#include <memory>

namespace velmor {
namespace {

TEST(Lifetime, AGuardedClosureRunsOnlyWhileItsOwnerLives)
{
    auto lifetime = std::make_unique<Lifetime>();
    int calls = 0;
    auto closure = lifetime->guarded([&] { ++calls; });
    const auto watch = lifetime->watch();
    closure();
    EXPECT_EQ(calls, 1);
    lifetime.reset();
    closure();
    watch.guarded([&] { ++calls; })();
    EXPECT_EQ(calls, 1);
}

} // namespace
} // namespace velmor
