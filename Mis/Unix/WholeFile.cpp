#include "Mis/Unix/WholeFile.h"

#include "Mis/Unix/Descriptor.h"
#include "Mis/Unix/FileAccess.h"
#include "Mis/Unix/FileStatus.h"
#include "Mis/Unix/Room.h"
#include "Mis/Unix/SafeOpen.h"
#include "Mis/Unix/Synchronise.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::size_t pieceSize = 16384;

std::uint64_t LargestFile() noexcept {
    rlimit limit = {};
    return getrlimit(RLIMIT_FSIZE, &limit) == 0 ? limit.rlim_cur : RLIM_INFINITY;
}

/// Large buffers are faulted in faster in huge pages. Only a hint.
void UseHugePages(void* begin, std::size_t size) noexcept {
    constexpr std::size_t pageSize = 2U << 20;
    if (std::align(pageSize, pageSize, begin, size) != nullptr) {
        madvise(begin, size, MADV_HUGEPAGE);
    }
}

/// Reads from `begin` on until it has `size` bytes or the file ends. Returns: the bytes read, below 0 on an error.
ssize_t ReadFully(int file, char* buffer, std::size_t size, off_t begin) noexcept {
    std::size_t filled = 0;
    while (filled < size) {
        const ssize_t count = pread(file, buffer + filled, size - filled, begin + static_cast<off_t>(filled));
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

/// Writes where the file stands; a short write is continued. Returns: the bytes written, fewer on an error.
std::size_t WriteFully(int file, std::string_view text) noexcept {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t count = write(file, text.data() + done, text.size() - done);
        if (count <= 0) {
            break;
        }
        done += static_cast<std::size_t>(count);
    }
    return done;
}

/// Adds empty lines up to the length of the old text. They mean nothing to a reader of the file; the rest of the old
/// text would.
void Pad(std::string& text, std::uint64_t oldSize, std::uint64_t largest) {
    constexpr std::uint64_t mostPadding = 1U << 20;
    const std::uint64_t length = std::min({oldSize, text.size() + mostPadding, largest});
    if (length > text.size()) {
        text.append(static_cast<std::size_t>(length - text.size()), '\n');
    }
}

/// True when the text is longer than this process may write, unless the file is of a kind that has no length.
bool IsTooLong(std::size_t length, const std::string& path) {
    const FileStatus status = length > LargestFile() ? FileStatus::Of(path) : FileStatus();
    return status.GetPresence() == Presence::missing || status.IsRegular();
}

/// A file made for nothing goes again, unless a link has led to it.
void RemoveEmpty(const OpenedFile& target, const std::string& path) {
    if (FileStatus::Of(target.Number()).Size() == 0 && FileStatus::OfEntry(path).IsSameAs(target.status)) {
        unlink(path.c_str());
    }
}

/// Writes over a file that was made for it.
long WriteNew(const OpenedFile& target, const std::string& path, std::string text, const FileAccess* access) {
    if (access != nullptr) {
        sys_giveAccess(target.Number(), target.status, *access);
    }
    const long written = sys_overwrite(target.Number(), target.status, std::move(text));
    if (written <= 0) {
        RemoveEmpty(target, path);
    }
    return written > 0 && !sys_synchroniseDirectory(sys_directoryOf(target.path)) ? 0 : written;
}

} // namespace

int sys_readFile(const char* path, std::uint64_t limit, FileContent& content) {
    return sys_readFile(Descriptor(open(path, O_RDONLY | O_NOCTTY | O_CLOEXEC)).Number(), limit, content);
}

int sys_readFile(int file, std::uint64_t limit, FileContent& content) {
    const FileStatus status = FileStatus::Of(file);
    content = {};
    return status.IsPresent() ? sys_readFile(file, status.Size(), limit, content) : -1;
}

int sys_readFile(int file, off_t length, std::uint64_t limit, FileContent& content) {
    content = {};
    const auto size = static_cast<std::uint64_t>(length);
    if (size > limit || size > SIZE_MAX / 2) {
        return -1;
    }
    // Not zeroed: reading fills every byte that is used.
    std::unique_ptr<char[]> bytes(new char[static_cast<std::size_t>(size)]);
    UseHugePages(bytes.get(), static_cast<std::size_t>(size));
    const ssize_t count = ReadFully(file, bytes.get(), static_cast<std::size_t>(size), 0);
    if (count < 0) {
        return -1;
    }
    content = {std::move(bytes), static_cast<std::size_t>(count)};
    return 1;
}

long sys_overwrite(int file, const FileStatus& status, std::string text) {
    const std::uint64_t largest = LargestFile();
    const std::size_t length = text.size();
    if (length > largest) {
        return -1;
    }
    const off_t before = status.Size();
    const bool isShorter = static_cast<off_t>(length) < before;
    Pad(text, static_cast<std::uint64_t>(before), largest);
    const bool hasRoom = sys_reserve(file, status, static_cast<off_t>(text.size())) && sys_rewind(file);
    const std::size_t written = hasRoom ? WriteFully(file, text) : 0;
    // A file system may write the new length to the disk before the new bytes.
    const bool isWritten = hasRoom && written == text.size() && (!isShorter || sys_synchronise(file));
    // If the text is not complete, cutting is only to give back the blocks that were reserved.
    const off_t valid = isWritten ? static_cast<off_t>(length) : std::max(before, static_cast<off_t>(written));
    return sys_setSize(file, valid) && isWritten && sys_synchronise(file) ? static_cast<long>(length) : 0;
}

long sys_writeFile(const std::string& path, std::string text, const FileAccess* access) {
    if (IsTooLong(text.size(), path)) {
        return -1;
    }
    const OpenedFile target = sys_openOutput(path, O_WRONLY, access == nullptr ? 0666 : 0600);
    if (!target.IsOpen()) {
        return -1;
    }
    if (!target.status.IsRegular()) {
        return WriteFully(target.Number(), text) == text.size() ? static_cast<long>(text.size()) : 0;
    }
    return target.created ? WriteNew(target, path, std::move(text), access)
                          : sys_overwrite(target.Number(), target.status, std::move(text));
}

CopyResult sys_copyBytes(int from, int to) {
    CopyResult result;
    char piece[pieceSize];
    for (;;) {
        const ssize_t count = read(from, piece, sizeof piece);
        if (count <= 0) {
            result.isReadToEnd = count == 0;
            return result;
        }
        const std::string_view text(piece, static_cast<std::size_t>(count));
        errno = 0;
        if (WriteFully(to, text) != text.size()) {
            result.writeError = errno != 0 ? errno : EIO;
            return result;
        }
        result.size += count;
    }
}

bool sys_holdsSame(int file, int reference) {
    char held[pieceSize];
    char wanted[pieceSize];
    off_t begin = 0;
    ssize_t count = 0;
    do {
        begin += count;
        count = ReadFully(reference, wanted, sizeof wanted, begin);
        // At the end of the reference the file must end, too: asking for one more byte shows it.
        const std::size_t asked = count > 0 ? static_cast<std::size_t>(count) : 1;
        if (count < 0 || ReadFully(file, held, asked, begin) != count ||
            std::memcmp(held, wanted, static_cast<std::size_t>(count)) != 0) {
            return false;
        }
    } while (count > 0);
    return true;
}

bool sys_rewind(int file) noexcept {
    return lseek(file, 0, SEEK_SET) == 0;
}

bool sys_setSize(int file, off_t size) noexcept {
    return ftruncate(file, size) == 0;
}

void sys_touch(int file) noexcept {
    futimens(file, nullptr);
}
