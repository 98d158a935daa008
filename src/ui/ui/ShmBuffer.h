// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/WaylandConnection.h>

#include <QImage>

#include <cstddef>
#include <memory>

namespace velmor {

/// A picture in memory that the compositor reads.
class ShmBuffer
{
public:
    /// \param size in pixels, above 0. Null where the system has no memory for it.
    static std::unique_ptr<ShmBuffer> make(wl_shm* shm, const QSize& size);
    ~ShmBuffer();
    ShmBuffer(const ShmBuffer&) = delete;
    ShmBuffer& operator=(const ShmBuffer&) = delete;

    /// To be drawn on while the buffer isn't read.
    QImage& image() { return m_image; }

    /// Whether the compositor may still read what was handed over.
    bool isRead() const { return m_isRead; }

    /// The buffer to attach, from now on read.
    wl_buffer* handOver();

private:
    ShmBuffer(void* memory, std::size_t bytes, const QSize& size);

    void* m_memory;
    std::size_t m_bytes;
    QImage m_image;
    WaylandPointer<wl_buffer> m_buffer;
    bool m_isRead = false;
};

} // namespace velmor
