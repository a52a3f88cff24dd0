#include "Mis/Unix/WholeFile.h"

#include "Mis/Unix/Descriptor.h"
#include "Mis/Unix/FileAccess.h"
#include "Mis/Unix/OutputFile.h"
#include "Mis/Unix/Room.h"
#include "Mis/Unix/Synchronise.h"
#include "Mis/Unix/SysClientUnix.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

struct StreamCloser {
    void operator()(std::FILE* stream) const noexcept { std::fclose(stream); }
};

using Stream = std::unique_ptr<std::FILE, StreamCloser>;

/// Huge pages make large buffers cheaper to fault in. Only a hint.
void UseHugePages(void* begin, std::size_t size) {
    constexpr std::size_t pageSize = 2U << 20;
    if (std::align(pageSize, pageSize, begin, size) != nullptr) {
        madvise(begin, size, MADV_HUGEPAGE);
    }
}

std::uint64_t LargestFile() noexcept {
    rlimit limit = {};
    return getrlimit(RLIMIT_FSIZE, &limit) == 0 ? limit.rlim_cur : RLIM_INFINITY;
}

OutputFile OpenTarget(const std::string& path, bool mayCreate, const FileAccess* access) {
    constexpr int plain = O_WRONLY | O_NOCTTY | O_CLOEXEC;
    OutputFile target;
    target.file = Descriptor(open(path.c_str(), plain));
    if (!target.file.IsOpen() && errno == ENOENT && mayCreate) {
        target.file = Descriptor(open(path.c_str(), plain | O_CREAT, access == nullptr ? 0666 : 0600));
        target.created = target.file.IsOpen();
    }
    target.status = FileStatus::Of(target.file.Number());
    if (target.created && access != nullptr) {
        sys_giveAccess(target.file.Number(), target.status, *access);
    }
    return target;
}

/// Writes with one call. Returns: the bytes written, 0 on an error.
std::size_t WriteOnce(int file, std::string_view text) noexcept {
    const ssize_t written = write(file, text.data(), text.size());
    return written < 0 ? 0 : static_cast<std::size_t>(written);
}

/// Adds empty lines up to the length of the old text. They mean nothing to a reader of the file; the rest of the old
/// text would.
void Pad(std::string& text, std::uint64_t oldSize) {
    constexpr std::uint64_t mostPadding = 1U << 20;
    const std::uint64_t length = std::min({oldSize, text.size() + mostPadding, LargestFile()});
    if (length > text.size()) {
        text.append(static_cast<std::size_t>(length - text.size()), '\n');
    }
}

/// A file made for nothing goes again, unless a link has led to it.
void RemoveEmpty(const OutputFile& target, const std::string& path) {
    if (FileStatus::OfEntry(path).IsSameAs(target.status)) {
        unlink(path.c_str());
    }
}

/// Writes `text` over a regular file. Returns: false when that failed at any step.
bool Overwrite(const OutputFile& target, const std::string& path, std::string text) {
    const int file = target.file.Number();
    const off_t before = target.status.Size();
    const auto length = static_cast<off_t>(text.size());
    Pad(text, static_cast<std::uint64_t>(before));
    const bool hasRoom = sys_reserve(file, target.status, static_cast<off_t>(text.size()));
    const bool isAtStart = hasRoom && lseek(file, 0, SEEK_SET) == 0;
    const std::size_t written = isAtStart ? WriteOnce(file, text) : 0;
    const bool complete = isAtStart && written == text.size();
    // If the text is not complete, cutting is only to give back the blocks that were reserved.
    const off_t valid = complete ? length : std::max(before, static_cast<off_t>(written));
    const bool cut = ftruncate(file, valid) == 0;
    if (target.created && !complete && written == 0) {
        RemoveEmpty(target, path);
    }
    return complete && cut && sys_synchronise(file) &&
           (!target.created || sys_synchroniseDirectory(sys_directoryOf(path)));
}

/// Reads until it has `size` bytes or the file ends. Returns: the bytes read, below 0 on an error.
ssize_t ReadFully(int file, char* buffer, std::size_t size) noexcept {
    std::size_t filled = 0;
    while (filled < size) {
        const ssize_t count = read(file, buffer + filled, size - filled);
        if (count < 0) {
            return count;
        }
        if (count == 0) {
            break;
        }
        filled += static_cast<std::size_t>(count);
    }
    return static_cast<ssize_t>(filled);
}

} // namespace

int sys_readFile(const char* path, std::uint64_t limit, FileContent& content) {
    content = {};
    const Stream stream(sys_fopen(path, "rt", 0));
    if (stream == nullptr) {
        return -1;
    }
    const FileStatus status = FileStatus::Of(fileno(stream.get()));
    const auto size = static_cast<std::uint64_t>(status.Size());
    if (!status.IsPresent() || size > limit || size > SIZE_MAX / 2) {
        return -1;
    }
    // Not zeroed: reading fills every byte that is used.
    std::unique_ptr<char[]> bytes(new char[static_cast<std::size_t>(size)]);
    UseHugePages(bytes.get(), static_cast<std::size_t>(size));
    const std::size_t count = std::fread(bytes.get(), 1, static_cast<std::size_t>(size), stream.get());
    if (std::ferror(stream.get()) != 0) {
        return -1;
    }
    content = {std::move(bytes), count};
    return 1;
}

long sys_writeFile(const std::string& path, std::string text, const FileAccess* access) {
    const std::size_t length = text.size();
    const bool isTooLong = length > LargestFile();
    const OutputFile target = OpenTarget(path, !isTooLong, access);
    const bool isRegular = target.status.IsRegular();
    if (!target.file.IsOpen() || (isRegular && isTooLong)) {
        return -1;
    }
    const bool done = isRegular ? Overwrite(target, path, std::move(text))
                                : target.status.IsPresent() && WriteOnce(target.file.Number(), text) == length;
    return done ? static_cast<long>(length) : 0;
}

bool sys_holdsSame(const std::string& file, const std::string& reference) {
    constexpr int plain = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    const Descriptor first(open(file.c_str(), plain));
    const Descriptor second(open(reference.c_str(), plain));
    char held[16384];
    char wanted[sizeof held];
    ssize_t count = 0;
    do {
        count = ReadFully(second.Number(), wanted, sizeof wanted);
        // At the end of the reference the file must end, too: asking for one more byte shows it.
        const std::size_t asked = count > 0 ? static_cast<std::size_t>(count) : 1;
        if (count < 0 || ReadFully(first.Number(), held, asked) != count ||
            std::memcmp(held, wanted, static_cast<std::size_t>(count)) != 0) {
            return false;
        }
    } while (count > 0);
    return true;
}
