// SPDX-License-Identifier: GPL-3.0-or-later
// Loaded into a program before its own libraries: writes how many bytes of its heap are in use to the file
// that VELMOR_HEAP_FIGURE names, whenever that file is empty. On a thread of its own, as no signal may ask
// the allocator.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

#include <malloc.h>

namespace {

void answer(const std::string& file)
{
    for (;;) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        std::error_code error;
        if (std::filesystem::file_size(file, error) != 0 || error)
            continue;
        const struct mallinfo2 info = ::mallinfo2();
        if (std::FILE* const stream = std::fopen(file.c_str(), "w")) {
            std::fprintf(stream, "%zu\n", info.uordblks + info.hblkhd);
            std::fclose(stream);
        }
    }
}

[[gnu::constructor]] void begin()
{
    if (const char* const file = std::getenv("VELMOR_HEAP_FIGURE"))
        std::thread(answer, std::string(file)).detach();
}

} // namespace
