// SPDX-License-Identifier: GPL-3.0-or-later
#include <exposure/DoseLevel.h>

#ifndef VELMOR_ALLOWED
#include <level/BlockProcessor.h>
#endif

velmor::DoseLevel band();
velmor::DoseLevel band()
{
    return velmor::doseLevelFrom(40);
}
