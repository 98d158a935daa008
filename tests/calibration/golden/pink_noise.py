#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Computes the pink noise generator's output with exact 32-bit arithmetic.

Every product and every sum is formed in double precision and then rounded to
a 32-bit float on its own. The product of two 24-bit significands fits into 53
bits, and 53 bits are enough for a sum of two such values to survive the second
rounding, so each rounded result is the one a 32-bit unit gives without fused
operations and without wider intermediate values.
"""

import pathlib
import struct

START_SEED = 0x1234ABCD
GOLDEN_COUNT = 10000
WORDS_PER_LINE = 8

_FLOAT = struct.Struct("<f")
_WORD = struct.Struct("<I")


def f32(value):
    """Rounds a double to the nearest 32-bit float, widened again to double."""
    return _FLOAT.unpack(_FLOAT.pack(value))[0]


def bits(value):
    """Gives the bit pattern of a value that is already a 32-bit float."""
    return _WORD.unpack(_FLOAT.pack(value))[0]


# The constants are rounded before use, because the generator holds them as
# 32-bit floats.
STAGES = tuple(
    (f32(decay), f32(gain))
    for decay, gain in (
        (0.99886, 0.0555179),
        (0.99332, 0.0750759),
        (0.969, 0.153852),
        (0.8665, 0.3104856),
        (0.55, 0.5329522),
        (-0.7616, -0.016898),
    )
)
DIRECT_GAIN = f32(0.5362)
DELAYED_GAIN = f32(0.115926)
OUTPUT_GAIN = f32(0.11)


def samples(count, seed=START_SEED, rounder=f32):
    """Yields the first samples that follow a start with the given seed.

    Each sample is a 32-bit float widened to double. The rounding function is a
    parameter so that a check can watch every intermediate value.
    """
    x = seed & 0xFFFFFFFF
    b = [0.0] * len(STAGES)
    b6 = 0.0
    for _ in range(count):
        x ^= (x << 13) & 0xFFFFFFFF
        x ^= x >> 17
        x ^= (x << 5) & 0xFFFFFFFF

        # The top 23 bits become the mantissa of a float in [1, 2).
        unit = _FLOAT.unpack(_WORD.pack(0x3F800000 | (x >> 9)))[0]
        white = rounder(rounder(unit - 1.5) * 2.0)

        for i, (decay, gain) in enumerate(STAGES):
            b[i] = rounder(rounder(b[i] * decay) + rounder(white * gain))

        # The sum runs strictly from left to right, since 32-bit addition is
        # not associative and another order changes the last bits.
        total = rounder(b[0] + b[1])
        for value in b[2:]:
            total = rounder(total + value)
        total = rounder(total + b6)
        total = rounder(total + rounder(white * DIRECT_GAIN))
        yield rounder(total * OUTPUT_GAIN)

        # The last state changes only now, because the sum above uses the value
        # that the frame before has left.
        b6 = rounder(white * DELAYED_GAIN)


def main():
    """Writes the golden file next to this script."""
    words = ["%08x" % bits(value) for value in samples(GOLDEN_COUNT)]
    lines = [
        " ".join(words[i : i + WORDS_PER_LINE])
        for i in range(0, len(words), WORDS_PER_LINE)
    ]
    target = pathlib.Path(__file__).resolve().with_name("pink_noise_golden.txt")
    target.write_text("\n".join(lines) + "\n", encoding="ascii")


if __name__ == "__main__":
    main()
