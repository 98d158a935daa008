// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <boost/lockfree/spsc_queue.hpp>

namespace velmor {

/// A ring from one thread to one other that neither locks nor allocates once it is made: push() on the
/// one side, pop() on the other.
template <typename Element>
using Ring = boost::lockfree::spsc_queue<Element>;

} // namespace velmor
