// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <stdexcept>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace velmor::test {

/// A page of a file that two processes see; it outlives the killing of either.
/// \tparam Content a record of atomic numbers, 0 at the beginning.
template <typename Content>
class SharedPage
{
public:
    explicit SharedPage(const char* file)
    {
        const int descriptor = ::open(file, O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        if (descriptor < 0 || ::ftruncate(descriptor, sizeof(Content)) != 0)
            throw std::runtime_error("no shared page");
        m_page = ::mmap(nullptr, sizeof(Content), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
        ::close(descriptor);
        if (m_page == MAP_FAILED)
            throw std::runtime_error("no shared page");
    }
    ~SharedPage() { ::munmap(m_page, sizeof(Content)); }
    SharedPage(const SharedPage&) = delete;
    SharedPage& operator=(const SharedPage&) = delete;

    Content* operator->() { return static_cast<Content*>(m_page); }

private:
    void* m_page = nullptr;
};

} // namespace velmor::test
