// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace velmor {

/// Pink noise: white noise through a bank of first-order filters that together fall by 3 dB an octave. Each
/// new generator gives the same samples. All of it is in 32 bits and in this order of operations, so that
/// they are the same bits everywhere. Real-time safe.
class PinkNoiseGenerator
{
public:
    /// The next sample at 44100 Hz. Its level is fixed by the gain of 0.11.
    float next()
    {
        const float white = nextWhite();
        m_b0 = m_b0 * 0.99886F + white * 0.0555179F;
        m_b1 = m_b1 * 0.99332F + white * 0.0750759F;
        m_b2 = m_b2 * 0.969F + white * 0.153852F;
        m_b3 = m_b3 * 0.8665F + white * 0.3104856F;
        m_b4 = m_b4 * 0.55F + white * 0.5329522F;
        m_b5 = m_b5 * -0.7616F + white * -0.016898F;
        const float sample = (m_b0 + m_b1 + m_b2 + m_b3 + m_b4 + m_b5 + m_b6 + white * 0.5362F) * 0.11F;
        m_b6 = white * 0.115926F;
        return sample;
    }

private:
    /// In [-1, 1): a xorshift's top 23 bits as the mantissa of a number in [1, 2).
    float nextWhite();

    float m_b0 = 0;
    float m_b1 = 0;
    float m_b2 = 0;
    float m_b3 = 0;
    float m_b4 = 0;
    float m_b5 = 0;
    float m_b6 = 0;
    std::uint32_t m_seed = 0x1234ABCD;
};

} // namespace velmor
