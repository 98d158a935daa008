// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/ShmBuffer.h>

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>

namespace velmor {

namespace {

constexpr int bytesOfPixel = 4;

} // namespace

ShmBuffer::ShmBuffer(void* memory, std::size_t bytes, const QSize& size)
    : m_memory(memory)
    , m_bytes(bytes)
    , m_image(static_cast<uchar*>(memory), size.width(), size.height(), size.width() * bytesOfPixel,
              QImage::Format_ARGB32_Premultiplied)
{}

ShmBuffer::~ShmBuffer()
{
    m_image = QImage();
    ::munmap(m_memory, m_bytes);
}

std::unique_ptr<ShmBuffer> ShmBuffer::make(wl_shm* shm, const QSize& size)
{
    const std::int32_t stride = size.width() * bytesOfPixel;
    const std::int32_t bytes = stride * size.height();
    const int file = ::memfd_create("velmor-panel", MFD_CLOEXEC);
    if (file < 0)
        return nullptr;
    void* const memory = ::ftruncate(file, bytes) == 0 ? ::mmap(nullptr, static_cast<std::size_t>(bytes),
                                                                PROT_READ | PROT_WRITE, MAP_SHARED, file, 0)
                                                       : MAP_FAILED;
    std::unique_ptr<ShmBuffer> buffer;
    if (memory != MAP_FAILED) {
        static constexpr wl_buffer_listener listener{
            .release = [](void* self, wl_buffer*) { static_cast<ShmBuffer*>(self)->m_isRead = false; }};
        buffer.reset(new ShmBuffer(memory, static_cast<std::size_t>(bytes), size));
        wl_shm_pool* const pool = wl_shm_create_pool(shm, file, bytes);
        buffer->m_buffer.reset(
            wl_shm_pool_create_buffer(pool, 0, size.width(), size.height(), stride, WL_SHM_FORMAT_ARGB8888));
        wl_shm_pool_destroy(pool);
        wl_buffer_add_listener(buffer->m_buffer.get(), &listener, buffer.get());
    }
    ::close(file);
    return buffer;
}

wl_buffer* ShmBuffer::handOver()
{
    m_isRead = true;
    return m_buffer.get();
}

} // namespace velmor
