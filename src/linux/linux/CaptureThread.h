// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Ring.h>
#include <platform/AudioCapture.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <semaphore>
#include <span>
#include <thread>

namespace velmor {

/// Takes samples from a real-time thread and hands them to a tap in blocks of one length, on a thread
/// of its own that treats denormals as zero. Ends with the object: then no block is under way.
class CaptureThread
{
public:
    CaptureThread(std::size_t blockFrames, CaptureEngine::Tap tap);
    ~CaptureThread();
    CaptureThread(const CaptureThread&) = delete;
    CaptureThread& operator=(const CaptureThread&) = delete;

    /// Takes samples; those that find no room are lost and counted. One real-time thread; neither
    /// locks, blocks nor allocates.
    void push(std::span<const float> samples) noexcept;

    /// Any thread.
    std::uint64_t lostSamples() const { return m_lostSamples.load(std::memory_order_relaxed); }

    /// Samples that were no usable numbers and were replaced by silence. Any thread.
    std::uint64_t unusableSamples() const { return m_unusableSamples.load(std::memory_order_relaxed); }

private:
    void run();

    const std::size_t m_blockFrames;
    const CaptureEngine::Tap m_tap;
    Ring<float> m_ring;
    std::counting_semaphore<> m_filled{0};
    std::atomic<bool> m_ends = false;
    std::atomic<std::uint64_t> m_lostSamples = 0;
    std::atomic<std::uint64_t> m_unusableSamples = 0;
    std::thread m_thread;
};

} // namespace velmor
