// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/Gates.h>

namespace velmor {

namespace {

void keepPlace(QWidget& part, bool isKept)
{
    QSizePolicy policy = part.sizePolicy();
    if (policy.retainSizeWhenHidden() == isKept)
        return;
    policy.setRetainSizeWhenHidden(isKept);
    part.setSizePolicy(policy);
}

} // namespace

void Gates::set(QWidget& part, bool isOpen)
{
    const auto [place, isNew] = m_gates.try_emplace(&part);
    Gate& gate = place->second;
    if (!isNew && gate.isOpen == isOpen)
        return;
    gate.isOpen = isOpen;
    apply(part, gate);
}

void Gates::hold(bool isStill)
{
    if (m_isStill == isStill)
        return;
    m_isStill = isStill;
    for (auto& [part, gate] : m_gates)
        apply(*part, gate);
}

void Gates::apply(QWidget& part, Gate& gate) const
{
    if (!m_isStill)
        gate.hasPlace = gate.isOpen;
    keepPlace(part, m_isStill && gate.hasPlace);
    const bool isShown = gate.isOpen && gate.hasPlace;
    // What is drawn between the parts goes with them.
    if (part.isHidden() == isShown && part.parentWidget())
        part.parentWidget()->update();
    part.setVisible(isShown);
}

} // namespace velmor
