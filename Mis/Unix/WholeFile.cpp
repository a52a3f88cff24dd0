#include "Mis/Unix/WholeFile.h"

#include "Mis/Unix/SysClientUnix.h"

#include <cstdio>
#include <memory>

#include <sys/mman.h>
#include <sys/stat.h>

namespace {

struct StreamCloser {
    void operator()(std::FILE* stream) const noexcept { std::fclose(stream); }
};

using Stream = std::unique_ptr<std::FILE, StreamCloser>;

/// Room of many megabytes costs less to get in large pages. It is only a hint: whether it was taken does not matter.
void UseLargePages(std::string& text) {
    constexpr std::size_t pageSize = 2U << 20;
    void* begin = text.data();
    std::size_t room = text.capacity();
    if (std::align(pageSize, pageSize, begin, room) != nullptr) {
        madvise(begin, room, MADV_HUGEPAGE);
    }
}

} // namespace

int sys_readFile(const char* path, std::uint64_t limit, std::string& text) {
    text.clear();
    const Stream stream(sys_fopen(path, "rt", 0));
    struct stat status = {};
    if (stream == nullptr || fstat(fileno(stream.get()), &status) != 0) {
        return -1;
    }
    const auto size = static_cast<std::uint64_t>(status.st_size);
    if (size > limit) {
        return -1;
    }
    text.reserve(size);
    UseLargePages(text);
    text.resize(size);
    text.resize(std::fread(text.data(), 1, text.size(), stream.get()));
    if (std::ferror(stream.get()) != 0) {
        text.clear();
        return -1;
    }
    return 1;
}

long sys_writeFile(const char* path, std::string_view text) {
    const Stream stream(sys_fopen(path, "wb", 0));
    if (stream == nullptr) {
        return -1;
    }
    const std::size_t written = std::fwrite(text.data(), 1, text.size(), stream.get());
    // A full disk may show only when the buffer is written out.
    std::fflush(stream.get());
    return std::ferror(stream.get()) != 0 ? 0 : static_cast<long>(written);
}
