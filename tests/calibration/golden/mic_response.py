#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Computes the microphone response analysis in double precision.

The results serve as an independent reference for the 32-bit analysis: five
synthetic inputs at three sample rates go through the framing, the averaged
power spectrum, the correction, the display curve and the 128 taps. Nothing
but the input samples is rounded to 32 bits here, so the difference between
these numbers and the program's is the program's own rounding error.
"""

import cmath
import math
import pathlib
import sys

# The directory holds scripts and their vectors only, so no byte code is left
# beside them.
sys.dont_write_bytecode = True

import pink_noise  # noqa: E402

FFT_SIZE = 2048
BINS = FFT_SIZE // 2
HOP = FFT_SIZE // 2
FRAMES = 200
SAMPLE_COUNT = FFT_SIZE + (FRAMES - 1) * HOP
TAP_COUNT = 128
FIRST_TAP = 960
CURVE_POINTS = 64
RATES = (44100, 48000, 96000)
Q_BUTTERWORTH = 0.7071067811865476

# The packed forward real transform yields twice the mathematical transform.
# Level normalisation removes the factor again, but the absolute floors are
# applied before that, so the factor has to be there.
FORWARD_SCALE = 2.0


def _make_plan(size):
    """Prepares bit reversed indices and one list of twiddles per stage."""
    width = size.bit_length() - 1
    order = [int(format(i, "0%db" % width)[::-1], 2) for i in range(size)]
    stages = []
    half = 1
    while half < size:
        stages.append(
            [cmath.rect(1.0, -math.pi * i / half) for i in range(half)]
        )
        half *= 2
    return order, stages


_PLANS = {}


def fft(values):
    """Gives the unscaled forward transform of a power-of-two length list."""
    size = len(values)
    if size not in _PLANS:
        _PLANS[size] = _make_plan(size)
    order, stages = _PLANS[size]
    x = [values[i] for i in order]
    for twiddles in stages:
        half = len(twiddles)
        for start in range(0, size, 2 * half):
            middle = start + half
            end = middle + half
            upper = x[start:middle]
            lower = [v * w for v, w in zip(x[middle:end], twiddles)]
            x[start:middle] = [u + v for u, v in zip(upper, lower)]
            x[middle:end] = [u - v for u, v in zip(upper, lower)]
    return x


def inverse_sum(spectrum):
    """Gives the sum over all bins without the usual division by the length."""
    return [v.conjugate() for v in fft([v.conjugate() for v in spectrum])]


def hann(size):
    """Gives the periodic Hann window scaled to unit mean square."""
    scale = math.sqrt(8.0 / 3.0)
    return [
        scale * 0.5 * (1.0 - math.cos(2.0 * math.pi * j / size))
        for j in range(size)
    ]


def accumulate(signal):
    """Sums the packed power spectra of all overlapping frames."""
    window = hann(FFT_SIZE)
    total = [0.0] * BINS
    for frame in range(FRAMES):
        start = frame * HOP
        x = fft([s * w for s, w in zip(signal[start : start + FFT_SIZE], window)])
        x = [FORWARD_SCALE * v for v in x[: BINS + 1]]
        power = [v.real * v.real + v.imag * v.imag for v in x[:BINS]]
        # Bin 0 of the packed format carries the constant term as its real and
        # the Nyquist term as its imaginary component.
        power[0] = x[0].real * x[0].real + x[BINS].real * x[BINS].real
        total = [t + p for t, p in zip(total, power)]
    return total


def correction(accumulated):
    """Compares the average spectrum with the ideal pink shape."""
    average = [p / float(FRAMES) for p in accumulated]
    ideal = [1.0] + [1.0 / math.sqrt(float(k)) for k in range(1, BINS)]
    magnitude = [math.sqrt(max(p, 1e-12)) for p in average]
    return [1.0] + [ideal[k] / max(magnitude[k], 1e-10) for k in range(1, BINS)]


def normalise(raw, rate):
    """Makes the geometric mean over 400 Hz to 16 kHz equal to one."""
    low = max(int(819200.0 / rate), 1)
    high = min(int(32768000.0 / rate), BINS - 1)
    if low >= high:
        return list(raw)
    logs = [
        math.log(v) if v > 1e-10 else -23.02585 for v in raw[low : high + 1]
    ]
    scale = math.exp(-math.fsum(logs) / float(high - low + 1))
    return [v * scale for v in raw]


def smoothed(raw):
    """Averages each bin over a neighbourhood that widens with frequency."""
    result = [1.0]
    for k in range(1, BINS):
        half = max(int(float(k) * 0.12), 1)
        lo = max(k - half, 1)
        hi = min(k + half, BINS - 1)
        result.append(math.fsum(raw[lo : hi + 1]) / float(hi - lo + 1))
    return result


def limited(smooth):
    """Holds every gain within 9 dB of unity."""
    return [min(max(v, 0.35481343), 2.8183827) for v in smooth]


def tapered(smooth, rate):
    """Fades the correction out below 400 Hz and above 16 kHz."""
    width = rate * 0.00048828125
    top16 = int(16000.0 / width)
    top_end = int(min(rate * 0.5, 22627.41699796952) / width)
    result = []
    for k, gain in enumerate(smooth):
        f = width * k
        if f < 80.0:
            gain = 1.0
        elif f < 400.0:
            t = (f - 80.0) / 320.0
            gain = (gain - 1.0) * t + 1.0
        elif f > 16000.0 and k > top16:
            if k < top_end:
                t = max((22627.41699796952 - f) / 6627.416997969522, 0.0)
                gain = t * (gain - 1.0) + 1.0
            else:
                gain = 1.0
        result.append(gain)
    return result


def display_curve(smooth, rate):
    """Samples the correction at logarithmically spaced frequencies."""
    curve = []
    for i in range(CURVE_POINTS):
        f = 10.0 ** (i * 2.3010299956639813 / 63.0 + 1.9030899869919435)
        index = int(f * 2048.0 / rate)
        if 1 <= index <= BINS - 1:
            curve.append((f, 20.0 * math.log10(max(smooth[index], 1e-10))))
    return curve


def filter_taps(smooth):
    """Gives the taps and their sum before the division by it.

    The packed inverse transform is unnormalised: it sums all 2048 Hermitian
    bins. Forward and inverse together therefore scale by twice the length,
    of which the forward direction contributes the 2. A flat spectrum gives
    2048 at index 0, and the factor 0.0009765625, which is 1 / 1024, makes a
    peak of 2 of it, not 1. The division by the sum removes this factor unless
    the sum is too small, in which case it stays in the taps.
    """
    spectrum = [complex(v) for v in smooth]
    spectrum.append(1.0 + 0.0j)
    spectrum.extend(complex(v) for v in reversed(smooth[1:]))
    impulse = [v.real * 0.0009765625 for v in inverse_sum(spectrum)]

    # The stretch around the middle of the period is the required one, although
    # the peak of a zero-phase response lies at index 0.
    window = hann(TAP_COUNT)
    taps = [impulse[FIRST_TAP + j] * window[j] for j in range(TAP_COUNT)]
    total = math.fsum(taps)
    if abs(total) > 1e-6:
        taps = [v / total for v in taps]
    return taps, total


def analyse(signal, rate):
    """Runs the whole analysis and gives curve, taps and the sum of the taps."""
    raw = normalise(correction(accumulate(signal)), rate)
    smooth = tapered(limited(smoothed(raw)), rate)
    taps, total = filter_taps(smooth)
    return display_curve(smooth, rate), taps, total


def _coefficients(b, a):
    """Divides all coefficients by the leading one of the recursion."""
    return tuple(v / a[0] for v in b) + tuple(v / a[0] for v in a[1:])


def _angles(f0, q, rate):
    """Gives the cosine of the angular frequency and the bandwidth term."""
    w0 = 2.0 * math.pi * f0 / rate
    return math.cos(w0), math.sin(w0) / (2.0 * q)


def peaking(gain_db, f0, q, rate):
    """Gives the coefficients of a peaking section."""
    cosine, alpha = _angles(f0, q, rate)
    a = 10.0 ** (gain_db / 40.0)
    return _coefficients(
        (1.0 + alpha * a, -2.0 * cosine, 1.0 - alpha * a),
        (1.0 + alpha / a, -2.0 * cosine, 1.0 - alpha / a),
    )


def high_pass(f0, q, rate):
    """Gives the coefficients of a second order high-pass section."""
    cosine, alpha = _angles(f0, q, rate)
    edge = (1.0 + cosine) / 2.0
    return _coefficients(
        (edge, -(1.0 + cosine), edge),
        (1.0 + alpha, -2.0 * cosine, 1.0 - alpha),
    )


def low_pass(f0, q, rate):
    """Gives the coefficients of a second order low-pass section."""
    cosine, alpha = _angles(f0, q, rate)
    edge = (1.0 - cosine) / 2.0
    return _coefficients(
        (edge, 1.0 - cosine, edge),
        (1.0 + alpha, -2.0 * cosine, 1.0 - alpha),
    )


def biquad(coefficients, signal):
    """Runs a signal through one section in direct form, starting at rest."""
    b0, b1, b2, a1, a2 = coefficients
    x1 = x2 = y1 = y2 = 0.0
    result = []
    for x in signal:
        y = b0 * x + b1 * x1 + b2 * x2 - a1 * y1 - a2 * y2
        x2, x1 = x1, x
        y2, y1 = y1, y
        result.append(y)
    return result


def flat(noise, rate):
    """Gives the noise at a quarter of its level, the same at every rate."""
    return [0.25 * x for x in noise]


def tilted(noise, rate):
    """Gives noise whose upper frequencies are attenuated by a short average."""
    return [0.5 * (x + 0.6 * x1) for x, x1 in zip(noise, [0.0] + noise[:-1])]


def resonant(noise, rate):
    """Gives noise with a resonance at 2 kHz and a dip at 6 kHz."""
    signal = biquad(peaking(8.0, 2000.0, 2.0, rate), flat(noise, rate))
    return biquad(peaking(-6.0, 6000.0, 1.0, rate), signal)


def band_limited(noise, rate):
    """Gives noise limited to 200 Hz to 8 kHz, which reaches the gain limit."""
    signal = biquad(high_pass(200.0, Q_BUTTERWORTH, rate), flat(noise, rate))
    return biquad(low_pass(8000.0, Q_BUTTERWORTH, rate), signal)


def silent(noise, rate):
    """Gives digital silence, for which only the floors set the correction."""
    return [0.0] * len(noise)


INPUTS = (
    ("flat", flat),
    ("tilted", tilted),
    ("resonant", resonant),
    ("band-limited", band_limited),
    ("silent", silent),
)


def cases():
    """Yields name, rate and input samples of every case in file order.

    The filtered result is rounded to 32 bits, because that is what the
    program's capture side is able to deliver.
    """
    noise = list(pink_noise.samples(SAMPLE_COUNT))
    for name, make in INPUTS:
        for rate in RATES:
            yield name, rate, [pink_noise.f32(y) for y in make(noise, rate)]


def main():
    """Writes the golden file next to this script."""
    lines = []
    for name, rate, signal in cases():
        curve, taps, _ = analyse(signal, rate)
        lines.append("case %s %d %d %d" % (name, rate, len(curve), len(taps)))
        lines.extend("%r %r" % point for point in curve)
        lines.extend("%r" % tap for tap in taps)
    target = pathlib.Path(__file__).resolve().with_name("mic_response_golden.txt")
    target.write_text("\n".join(lines) + "\n", encoding="ascii")


if __name__ == "__main__":
    main()
