// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstdint>
#include <stdexcept>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace velmor::test {

/// A page of a file that two processes see; it outlives the killing of either.
class DosePage
{
public:
    struct Content
    {
        std::atomic<int> isReady;
        std::atomic<double> restoredDose;
        std::atomic<std::int64_t> restoredPeakCount;
        std::atomic<double> dose;
        std::atomic<std::int64_t> peakCount;
    };

    explicit DosePage(const char* file)
    {
        const int descriptor = ::open(file, O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        if (descriptor < 0 || ::ftruncate(descriptor, sizeof(Content)) != 0)
            throw std::runtime_error("no shared page");
        m_page = ::mmap(nullptr, sizeof(Content), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
        ::close(descriptor);
        if (m_page == MAP_FAILED)
            throw std::runtime_error("no shared page");
    }
    ~DosePage() { ::munmap(m_page, sizeof(Content)); }
    DosePage(const DosePage&) = delete;
    DosePage& operator=(const DosePage&) = delete;

    Content* operator->() { return static_cast<Content*>(m_page); }

private:
    void* m_page = nullptr;
};

} // namespace velmor::test
