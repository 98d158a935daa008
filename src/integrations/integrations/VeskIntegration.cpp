// SPDX-License-Identifier: GPL-3.0-or-later
#include <integrations/VeskIntegration.h>

#include <integrations/Url.h>

#include <fmt/format.h>

#include <cmath>
#include <cstdint>

namespace velmor {

namespace {

constexpr auto lastSlotKey = "VeskIntegration.lastSlot";
constexpr int defaultSlot = 2;
constexpr double highestLevel = 140.0;

bool isSlot(int slot)
{
    return slot >= 1 && slot <= VeskIntegration::slotCount;
}

} // namespace

VeskIntegration::VeskIntegration(Workspace& workspace, DefaultsStore& defaults)
    : m_workspace(workspace)
    , m_defaults(defaults)
{}

bool VeskIntegration::isInstalled() const
{
    return m_workspace.hasApplicationToOpen("vesk://reference/1");
}

bool VeskIntegration::saveReference(int slot, const std::string& name, double dBSPL)
{
    if (!isSlot(slot))
        return false;
    if (!std::isfinite(dBSPL) || dBSPL < 0 || dBSPL > highestLevel)
        return false;
    const auto base = Url::fromText(fmt::format("vesk://reference/{}/save", slot));
    const auto url =
        base ? base->withQueryItems({{"name", name}, {"dBSPL", fmt::format("{:.1f}", dBSPL)}}) : std::nullopt;
    if (!url || !m_workspace.hasApplicationToOpen(url->text()))
        return false;
    m_workspace.open(url->text());
    return true;
}

int VeskIntegration::lastUsedSlot() const
{
    const std::int64_t slot = m_defaults.get<std::int64_t>(lastSlotKey).value_or(0);
    return slot >= 1 && slot <= slotCount ? static_cast<int>(slot) : 0;
}

void VeskIntegration::setLastUsedSlot(int slot)
{
    m_defaults.set(lastSlotKey, std::int64_t(slot));
}

int VeskIntegration::initialSlot() const
{
    const int last = lastUsedSlot();
    return last != 0 ? last : defaultSlot;
}

std::string VeskIntegration::suggestedName(double targetDBA)
{
    switch (std::lround(targetDBA)) {
    case 73:
        return "Mastering";
    case 79:
        return "K-14";
    case 83:
        return "K-12";
    case 85:
        return "K-20";
    default:
        return "Mix";
    }
}

} // namespace velmor
