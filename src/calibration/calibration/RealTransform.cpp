// SPDX-License-Identifier: GPL-3.0-or-later
#include <calibration/RealTransform.h>

#include <kiss_fftr.h>
#include <kissfft.hh>

#include <cassert>
#include <cmath>
#include <numbers>
#include <utility>

namespace velmor {

RealTransform::RealTransform(std::size_t size)
    : m_size(size)
    , m_forward(kiss_fftr_alloc(static_cast<int>(size), 0, nullptr, nullptr))
    , m_bins(size / 2 + 1)
{}

std::optional<RealTransform> RealTransform::make(std::size_t size)
{
    RealTransform transform(size);
    if (!transform.m_forward)
        return std::nullopt;
    return transform;
}

RealTransform::~RealTransform()
{
    kiss_fftr_free(m_forward);
}

RealTransform::RealTransform(RealTransform&& other) noexcept
    : m_size(other.m_size)
    , m_forward(std::exchange(other.m_forward, nullptr))
    , m_bins(std::move(other.m_bins))
{}

RealTransform& RealTransform::operator=(RealTransform&& other) noexcept
{
    std::swap(m_size, other.m_size);
    std::swap(m_forward, other.m_forward);
    std::swap(m_bins, other.m_bins);
    return *this;
}

std::span<const std::complex<float>> RealTransform::forward(std::span<const float> samples)
{
    assert(samples.size() == m_size);
    // A complex number is laid out as the two floats of the library's record.
    kiss_fftr(m_forward, samples.data(), reinterpret_cast<kiss_fft_cpx*>(m_bins.data()));
    return m_bins;
}

std::vector<float> RealTransform::inverse(std::span<const float> bins) const
{
    assert(bins.size() == m_size / 2 + 1);
    std::vector<std::complex<double>> spectrum(m_size);
    for (std::size_t k = 0; k < bins.size(); ++k) {
        spectrum[k] = static_cast<double>(bins[k]);
        spectrum[(m_size - k) % m_size] = spectrum[k];
    }
    std::vector<std::complex<double>> response(m_size);
    kissfft<double>(m_size, true).transform(spectrum.data(), response.data());
    std::vector<float> samples;
    samples.reserve(m_size);
    for (const std::complex<double>& value : response)
        samples.push_back(static_cast<float>(value.real()));
    return samples;
}

std::vector<float> normalizedHannWindow(std::size_t size)
{
    constexpr double gain = 0.8164965809277260; // sqrt(8 / 3) / 2: the mean square is 1.
    std::vector<float> window(size);
    for (std::size_t n = 0; n < size; ++n) {
        const double phase = 2 * std::numbers::pi * static_cast<double>(n) / static_cast<double>(size);
        window[n] = static_cast<float>(gain * (1 - std::cos(phase)));
    }
    return window;
}

} // namespace velmor
