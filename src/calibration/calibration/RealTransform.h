// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <complex>
#include <cstddef>
#include <optional>
#include <span>
#include <vector>

struct kiss_fftr_state;

namespace velmor {

/// Fourier transforms of real signals of one length. One thread at a time.
class RealTransform
{
public:
    /// \param size even. Absent where the tables can't be had.
    static std::optional<RealTransform> make(std::size_t size);

    ~RealTransform();
    RealTransform(RealTransform&& other) noexcept;
    RealTransform& operator=(RealTransform&& other) noexcept;

    std::size_t size() const { return m_size; }

    /// The bins from 0 to size / 2 of the transform as it is defined, without a scale, in 32 bits. The result
    /// stands until the next call. Allocates nothing.
    std::span<const std::complex<float>> forward(std::span<const float> samples);

    /// The `size` samples of the unscaled inverse of a real spectrum: forward and inverse together multiply
    /// by size. Rounded to 32 bits only at its end, as far from the peak of a response the rounding of each
    /// step would be as large as the samples. \param bins size / 2 + 1
    std::vector<float> inverse(std::span<const float> bins) const;

private:
    explicit RealTransform(std::size_t size);

    std::size_t m_size;
    kiss_fftr_state* m_forward = nullptr;
    std::vector<std::complex<float>> m_bins;
};

/// The window that a spectrum is taken through: gain * (1 - cos(2 pi n / size)), a periodic Hann window that
/// keeps the power of what it is laid over.
std::vector<float> normalizedHannWindow(std::size_t size);

} // namespace velmor
