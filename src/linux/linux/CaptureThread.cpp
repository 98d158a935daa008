// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/CaptureThread.h>

#include <base/FlushToZero.h>
#include <base/UsableSamples.h>

#include <utility>
#include <vector>

namespace velmor {

namespace {

/// 0.7 seconds at 192 kHz, 2.7 seconds at 48 kHz: more than a busy machine keeps a thread waiting.
constexpr std::size_t ringCapacity = 131072;

} // namespace

CaptureThread::CaptureThread(std::size_t blockFrames, CaptureEngine::Tap tap)
    : m_blockFrames(blockFrames)
    , m_tap(std::move(tap))
    , m_ring(ringCapacity)
    , m_thread([this] { run(); })
{}

CaptureThread::~CaptureThread()
{
    m_ends.store(true, std::memory_order_release);
    m_filled.release();
    m_thread.join();
}

void CaptureThread::push(std::span<const float> samples) noexcept
{
    const std::size_t taken = m_ring.push(samples.data(), samples.size());
    if (taken < samples.size())
        m_lostSamples.fetch_add(samples.size() - taken, std::memory_order_relaxed);
    m_filled.release();
}

void CaptureThread::run()
{
    const FlushToZero flushToZero;
    std::vector<float> block(m_blockFrames);
    std::size_t filled = 0;
    while (true) {
        m_filled.acquire();
        while (!m_ends.load(std::memory_order_acquire)) {
            const std::size_t taken = m_ring.pop(block.data() + filled, m_blockFrames - filled);
            if (taken == 0)
                break;
            filled += taken;
            if (filled < m_blockFrames)
                continue;
            filled = 0;
            if (const std::size_t unusable = silenceUnusableSamples(block))
                m_unusableSamples.fetch_add(unusable, std::memory_order_relaxed);
            m_tap(block.data(), m_blockFrames);
        }
        if (m_ends.load(std::memory_order_acquire))
            return;
    }
}

} // namespace velmor
