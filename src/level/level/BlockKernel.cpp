// SPDX-License-Identifier: GPL-3.0-or-later
#include <level/BlockKernel.h>

#include <level/AWeightingFilter.h>
#include <level/CWeightingFilter.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace velmor {

namespace {

/// How many samples each lane runs behind the one that feeds it. A result takes some 30 cycles from
/// one lane into the next (two conversions by way of memory, a shuffle, a multiplication, an
/// addition), the recursion within a lane at least 10: four samples hide the way between the lanes.
constexpr std::size_t skew = 4;

/// How many of a block's first samples are taken section by section, until every lane has work.
constexpr std::size_t headLength = 4 * skew;

/// How many samples are widened to 64 bits at a time.
constexpr std::size_t chunkLength = 64 * skew;

using Lanes2 = double __attribute__((vector_size(16)));
using Lanes4 = double __attribute__((vector_size(32)));
using Floats4 = float __attribute__((vector_size(16)));
using Bits4 = std::int32_t __attribute__((vector_size(16)));

#define VELMOR_INLINE [[gnu::always_inline]] inline

// The operations in which the two widths of lanes differ. Results rounded to 32 bits are kept in
// four floats, of which two lanes use the first two.

VELMOR_INLINE Floats4 narrowed(Lanes2 lanes)
{
#if defined(__SSE2__)
    // Written with __builtin_convertvector, GCC 12 takes the lanes apart.
    return _mm_cvtpd_ps(lanes);
#else
    return Floats4{static_cast<float>(lanes[0]), static_cast<float>(lanes[1]), 0, 0};
#endif
}

VELMOR_INLINE void widen(Floats4 floats, Lanes2& lanes)
{
#if defined(__SSE2__)
    lanes = _mm_cvtps_pd(floats);
#else
    lanes = Lanes2{static_cast<double>(floats[0]), static_cast<double>(floats[1])};
#endif
}

/// Moves each lane one up and the last lane of `below` into the first.
VELMOR_INLINE Lanes2 shiftedUp(Lanes2 below, Lanes2 lanes)
{
    return __builtin_shufflevector(below, lanes, 1, 2);
}

/// Moves each lane one up and the sample into the first.
VELMOR_INLINE Lanes2 shiftedIn(const double& sample, Lanes2 lanes)
{
    return __builtin_shufflevector(Lanes2{sample, 0}, lanes, 0, 2);
}

#if defined(__x86_64__)
VELMOR_INLINE Floats4 narrowed(Lanes4 lanes)
{
    return __builtin_convertvector(lanes, Floats4);
}

VELMOR_INLINE void widen(const Floats4& floats, Lanes4& lanes)
{
#if defined(__clang__)
    lanes = __builtin_convertvector(floats, Lanes4);
#else
    // One instruction, of which GCC 12 makes four and a detour through memory on its own.
    asm("vcvtps2pd %1, %0" : "=x"(lanes) : "xm"(floats));
#endif
}

VELMOR_INLINE Lanes4 shiftedUp(Lanes4 below, Lanes4 lanes)
{
    return __builtin_shufflevector(below, lanes, 3, 4, 5, 6);
}

VELMOR_INLINE Lanes4 shiftedIn(const double& sample, Lanes4 lanes)
{
#if defined(__clang__)
    const Lanes4 first = {sample, sample, sample, sample};
#else
    // Loaded into all lanes the sample costs no shuffle, which the conversions need the port for.
    Lanes4 first;
    asm("vbroadcastsd %1, %0" : "=x"(first) : "m"(sample));
#endif
    const Lanes4 rotated = __builtin_shufflevector(lanes, lanes, 3, 0, 1, 2);
    return __builtin_shufflevector(first, rotated, 0, 5, 6, 7);
}
#endif

/// Neighbouring sections of one cascade, one to a lane.
template <typename Lanes>
struct Group
{
    static constexpr std::size_t width = sizeof(Lanes) / sizeof(double);

    Lanes b0, b1, b2, a1, a2, s1, s2;
    Lanes sum{}; ///< Sum of squares of what each lane has given.

    VELMOR_INLINE void load(const SectionCoefficients* coefficients, const SectionState* states)
    {
        for (std::size_t lane = 0; lane < width; ++lane) {
            b0[lane] = coefficients[lane][0];
            b1[lane] = coefficients[lane][1];
            b2[lane] = coefficients[lane][2];
            a1[lane] = coefficients[lane][3];
            a2[lane] = coefficients[lane][4];
            s1[lane] = states[lane][0];
            s2[lane] = states[lane][1];
        }
    }

    VELMOR_INLINE void storeStates(SectionState* states) const
    {
        for (std::size_t lane = 0; lane < width; ++lane)
            states[lane] = {s1[lane], s2[lane]};
    }

    VELMOR_INLINE Floats4 step(Lanes x)
    {
        const Lanes y = s1 + b0 * x;
        s1 = s2 + (b1 * x - a1 * y);
        s2 = b2 * x - a2 * y;
        return narrowed(y);
    }
};

void addSquares(double& sum, std::span<const float> samples)
{
    for (const float sample : samples) {
        const double wide = static_cast<double>(sample);
        sum += wide * wide;
    }
}

/// The highest absolute sample. As only a greater one replaces it, not-a-numbers don't count and the
/// order of the comparisons doesn't matter.
float peakOf(std::span<const float> samples)
{
    Floats4 peaks{};
    std::size_t i = 0;
    for (; i + 4 <= samples.size(); i += 4) {
        Floats4 magnitudes;
        std::memcpy(&magnitudes, samples.data() + i, sizeof magnitudes);
        magnitudes = reinterpret_cast<Floats4>(reinterpret_cast<Bits4>(magnitudes) & INT32_MAX);
        peaks = magnitudes > peaks ? magnitudes : peaks;
    }
    float peak = 0;
    for (int lane = 0; lane < 4; ++lane)
        peak = peaks[lane] > peak ? peaks[lane] : peak;
    for (; i < samples.size(); ++i) {
        const float magnitude = std::abs(samples[i]);
        peak = magnitude > peak ? magnitude : peak;
    }
    return peak;
}

/// A whole filter in groups of lanes, and the memory that it works on.
template <typename Lanes, std::size_t groupCount>
class Cascade
{
public:
    VELMOR_INLINE Cascade(std::vector<SectionCoefficients>& coefficients, std::vector<SectionState>& states,
                          float* scratch)
        : m_coefficients(coefficients.data())
        , m_states(states.data())
        , m_scratch(scratch)
    {}

    /// Takes the block's first samples section by section, each section `skew` samples less far than
    /// the one before it. Then loads the lanes.
    VELMOR_INLINE void begin(const float* block)
    {
        std::copy_n(block, headLength, m_scratch);
        for (std::size_t section = 0; section < sectionCount; ++section)
            runInMemory(section, 0, headLength - section * skew);

        for (std::size_t g = 0; g < groupCount; ++g)
            m_groups[g].load(m_coefficients + g * width, m_states + g * width);
        for (std::size_t turn = 0; turn < skew; ++turn) {
            for (std::size_t section = 0; section < sectionCount; ++section)
                given(turn, section) = m_scratch[headLength + turn - (section + 1) * skew];
        }
        double sum = 0;
        addSquares(sum, {m_scratch, headLength - lag});
        m_groups[groupCount - 1].sum[width - 1] = sum;
    }

    /// Gives sample n to the first lane, and to each other lane what the one before it gave `skew`
    /// samples ago; what the last one gave then is the result for sample n - lag.
    /// \param turn (n - headLength) modulo skew.
    VELMOR_INLINE void step(std::size_t n, const double& sample, std::size_t turn)
    {
        m_scratch[n - lag] = given(turn, sectionCount - 1);
        Lanes below;
        for (std::size_t g = 0; g < groupCount; ++g) {
            Lanes before;
            widen(m_given[turn][g], before);
            m_groups[g].sum += before * before;
            m_given[turn][g] =
                m_groups[g].step(g == 0 ? shiftedIn(sample, before) : shiftedUp(below, before));
            below = before;
        }
    }

    /// Hands back after the last of the block's samples: what the lanes still have for one another
    /// goes to memory, and the sections behind finish there.
    VELMOR_INLINE PathSums end(std::size_t frames)
    {
        for (std::size_t g = 0; g < groupCount; ++g)
            m_groups[g].storeStates(m_states + g * width);
        for (std::size_t i = 0; i < skew; ++i) {
            const std::size_t turn = (frames - headLength + i) % skew;
            for (std::size_t section = 0; section < sectionCount; ++section)
                m_scratch[frames + i - (section + 1) * skew] = given(turn, section);
        }
        for (std::size_t section = 1; section < sectionCount; ++section)
            runInMemory(section, frames - section * skew, frames);

        double sum = m_groups[groupCount - 1].sum[width - 1];
        addSquares(sum, {m_scratch + (frames - lag), lag});
        return {peakOf({m_scratch, frames}), sum};
    }

private:
    static constexpr std::size_t width = Group<Lanes>::width;
    static constexpr std::size_t sectionCount = groupCount * width;
    static constexpr std::size_t lag = sectionCount * skew;
    static_assert(lag <= headLength);

    VELMOR_INLINE void runInMemory(std::size_t section, std::size_t first, std::size_t end)
    {
        runSection(m_coefficients[section], m_states[section], {m_scratch + first, end - first});
    }

    VELMOR_INLINE float& given(std::size_t turn, std::size_t section)
    {
        return reinterpret_cast<float*>(&m_given[turn][section / width])[section % width];
    }

    const SectionCoefficients* m_coefficients;
    SectionState* m_states;
    float* m_scratch;
    Group<Lanes> m_groups[groupCount];
    Floats4 m_given[skew][groupCount]; ///< What the lanes gave at the last steps.
};

template <typename ACascade, typename CCascade>
VELMOR_INLINE BlockKernel::Result weighInLanes(ACascade a, CCascade c, std::span<const float> block)
{
    const std::size_t frames = block.size();
    a.begin(block.data());
    c.begin(block.data());
    double wide[chunkLength];
    for (std::size_t n = headLength; n < frames;) {
        const std::size_t length = std::min(chunkLength, frames - n);
        for (std::size_t i = 0; i < length; ++i)
            wide[i] = static_cast<double>(block[n + i]);
        std::size_t i = 0;
        for (; i + skew <= length; i += skew) {
#pragma GCC unroll 8
            for (std::size_t turn = 0; turn < skew; ++turn) {
                a.step(n + i + turn, wide[i + turn], turn);
                c.step(n + i + turn, wide[i + turn], turn);
            }
        }
        for (std::size_t turn = 0; i < length; ++turn, ++i) {
            a.step(n + i, wide[i], turn);
            c.step(n + i, wide[i], turn);
        }
        n += length;
    }
    return {a.end(frames), c.end(frames)};
}

/// The sections of both filters and the two scratch arrays.
struct Sections
{
    std::vector<SectionCoefficients>& aCoefficients;
    std::vector<SectionState>& aStates;
    float* aScratch;
    std::vector<SectionCoefficients>& cCoefficients;
    std::vector<SectionState>& cStates;
    float* cScratch;
};

BlockKernel::Result weighBaseline(const Sections& on, std::span<const float> block)
{
    return weighInLanes(Cascade<Lanes2, 2>(on.aCoefficients, on.aStates, on.aScratch),
                        Cascade<Lanes2, 1>(on.cCoefficients, on.cStates, on.cScratch), block);
}

#if defined(__x86_64__)
[[gnu::target("avx2")]] BlockKernel::Result weighAvx2(const Sections& on, std::span<const float> block)
{
    return weighInLanes(Cascade<Lanes4, 1>(on.aCoefficients, on.aStates, on.aScratch),
                        Cascade<Lanes2, 1>(on.cCoefficients, on.cStates, on.cScratch), block);
}
#endif

/// A block too short for the lanes, in the plain way.
template <typename Filter>
PathSums weighShort(Filter& filter, std::span<const float> block, std::span<float> scratch)
{
    std::ranges::copy(block, scratch.begin());
    filter.process(scratch, std::ssize(block));
    double sum = 0;
    addSquares(sum, scratch.first(block.size()));
    return {peakOf(scratch.first(block.size())), sum};
}

} // namespace

BlockKernel::Result BlockKernel::weigh(AWeightingFilter& aFilter, CWeightingFilter& cFilter,
                                       std::span<const float> block, std::span<float> aScratch,
                                       std::span<float> cScratch) const
{
    if (block.size() < headLength)
        return {weighShort(aFilter, block, aScratch), weighShort(cFilter, block, cScratch)};

    const Sections sections{aFilter.m_coefficients, aFilter.m_states, aScratch.data(),
                            cFilter.m_coefficients, cFilter.m_states, cScratch.data()};
#if defined(__x86_64__)
    if (m_unit == VectorUnit::avx2)
        return weighAvx2(sections, block);
#endif
    return weighBaseline(sections, block);
}

} // namespace velmor
