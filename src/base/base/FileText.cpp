// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/FileText.h>

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmor {

namespace {

constexpr std::size_t bytesPerCall = 1 << 20;

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
    // A pipe must not keep us waiting for its writer.
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0 || !read(descriptor, text, spareCapacity)) {
        error = std::error_code(errno, std::generic_category());
        text.clear();
    }
    if (descriptor >= 0)
        ::close(descriptor);
    return text;
}

} // namespace velmor
