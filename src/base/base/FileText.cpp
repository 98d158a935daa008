// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/FileText.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <stdexcept>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmor {

namespace {

constexpr std::size_t bytesPerCall = 1 << 20;

class Descriptor
{
public:
    explicit Descriptor(int descriptor)
        : m_descriptor(descriptor)
    {}
    ~Descriptor()
    {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int get() const { return m_descriptor; }

private:
    int m_descriptor;
};

/// \return false with errno set.
bool read(int descriptor, std::string& text, std::size_t spareCapacity)
{
    struct stat status = {};
    if (::fstat(descriptor, &status) != 0)
        return false;
    if (!S_ISREG(status.st_mode)) {
        errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
        return false;
    }
    text.reserve(static_cast<std::size_t>(status.st_size) + spareCapacity + 1);
    // To its end, wherever that is by now.
    while (true) {
        const std::size_t size = text.size();
        text.resize(std::max(std::min(text.capacity(), size + bytesPerCall), size + 1));
        const ssize_t count = ::read(descriptor, text.data() + size, text.size() - size);
        text.resize(size + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        if (count == 0)
            return true;
        if (count < 0 && errno != EINTR)
            return false;
    }
}

} // namespace

std::string fileText(const std::filesystem::path& file, std::error_code& error, std::size_t spareCapacity)
{
    error.clear();
    std::string text;
    try {
        // A pipe must not keep us waiting for its writer.
        const Descriptor descriptor(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
        if (descriptor.get() >= 0 && read(descriptor.get(), text, spareCapacity))
            return text;
        error = std::error_code(errno, std::generic_category());
    } catch (const std::bad_alloc&) {
        error = std::make_error_code(std::errc::file_too_large);
    } catch (const std::length_error&) {
        error = std::make_error_code(std::errc::file_too_large);
    }
    return {};
}

} // namespace velmor
