#include "Mis/Unix/SafeOpen.h"

#include "Mis/Unix/Patience.h"

#include <cerrno>
#include <cstdio>
#include <optional>

#include <linux/magic.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace {

constexpr int careful = O_NOCTTY | O_CLOEXEC;

/// What is to be opened, and how.
struct Request {
    int flags;
    std::optional<mode_t> createMode; ///< without it a missing file is not created
    StrangersLinks strangersLinks;
    int base = AT_FDCWD;
};

OpenedFile NotOpen(int error, bool isRefused = false) {
    OpenedFile none;
    none.error = error;
    none.isRefused = isRefused;
    return none;
}

OpenedFile Opened(int number, const std::string& path, bool created) {
    if (number < 0) {
        return NotOpen(errno);
    }
    OpenedFile opened{Descriptor(number), 0, false, created, path, FileStatus::Of(number)};
    if (!opened.status.IsPresent()) {
        opened.file = {};
        opened.error = EIO;
    }
    return opened;
}

/// Opens an entry, which must not be a link (ELOOP; ENOTDIR when a directory is asked for).
OpenedFile OpenEntry(const std::string& path, const Request& request) {
    const int flags = request.flags | careful | O_NOFOLLOW;
    if (request.createMode) {
        const int number = openat(request.base, path.c_str(), flags | O_CREAT | O_EXCL, *request.createMode);
        if (number >= 0 || errno != EEXIST) {
            return Opened(number, path, true);
        }
    }
    return Opened(openat(request.base, path.c_str(), flags), path, false);
}

/// True for a link of the process file system, such as /proc/self/fd/1. It stands for an open file, and its text need
/// not be a name.
bool IsProcessLink(int link) noexcept {
    struct statfs system = {};
    return fstatfs(link, &system) == 0 && system.f_type == PROC_SUPER_MAGIC;
}

/// True when the entry is neither a link nor the file of `owner`. Opening could do something already, to a device for
/// example, so this is asked before.
bool BelongsToAnother(const std::string& path, uid_t owner) {
    const FileStatus entry = FileStatus::OfEntry(path);
    return entry.IsPresent() && !entry.IsLink() && entry.Owner() != owner;
}

OpenedFile OpenThroughLinks(std::string path, const Request& request) {
    std::optional<uid_t> stranger; // the owner of the strangers' links so far
    for (int links = 0; links <= sys_mostLinks; ++links) {
        if ((request.flags & O_DIRECTORY) != 0) {
            path = sys_withoutSeparator(path);
        }
        if (stranger && BelongsToAnother(path, *stranger)) {
            return NotOpen(EPERM, true);
        }
        OpenedFile opened = OpenEntry(path, request);
        if (opened.IsOpen() && stranger && opened.status.Owner() != *stranger) {
            return NotOpen(EPERM, true);
        }
        if (opened.IsOpen() || (opened.error != ELOOP && opened.error != ENOTDIR)) {
            return opened;
        }
        const Descriptor link(openat(request.base, path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
        const FileStatus status = FileStatus::Of(link.Number());
        if (!status.IsLink()) {
            return opened;
        }
        if (!status.BelongsHere()) {
            if (request.strangersLinks == StrangersLinks::refused ||
                stranger.value_or(status.Owner()) != status.Owner()) {
                return NotOpen(EPERM, true);
            }
            stranger = status.Owner();
        }
        if (IsProcessLink(link.Number())) {
            return stranger ? NotOpen(EPERM, true)
                            : Opened(openat(request.base, path.c_str(), request.flags | careful), "", false);
        }
        const std::optional<std::string> target = sys_linkTarget(path, link.Number());
        if (!target) {
            return opened;
        }
        path = *target;
    }
    return NotOpen(ELOOP);
}

} // namespace

OpenedFile sys_openInput(const std::string& path, int flags, StrangersLinks strangersLinks) {
    return OpenThroughLinks(path, {flags, std::nullopt, strangersLinks});
}

OpenedFile sys_openToChange(const std::string& path) {
    const Request request = {O_RDWR | O_NONBLOCK, std::nullopt, StrangersLinks::followedToOwnFiles};
    Patience patience;
    OpenedFile opened = OpenThroughLinks(path, request);
    while (opened.error == EWOULDBLOCK && patience.Wait()) {
        opened = OpenThroughLinks(path, request);
    }
    return opened;
}

OpenedFile sys_openOutput(const std::string& path, int flags, mode_t mode, int base) {
    OpenedFile output = OpenThroughLinks(path, {flags | O_NONBLOCK, mode, StrangersLinks::refused, base});
    if (!output.IsOpen() || output.status.IsRegular()) {
        return output;
    }
    // A pipe that a process has open already, such as standard output, has a reader.
    if (output.status.IsPipe() && !output.path.empty()) {
        return NotOpen(ENXIO);
    }
    fcntl(output.Number(), F_SETFL, flags);
    return output;
}

OpenedFile sys_openDirectory(const std::string& path) {
    OpenedFile directory = OpenThroughLinks(path, {O_RDONLY | O_DIRECTORY, std::nullopt, StrangersLinks::refused});
    if (directory.error == EACCES) {
        directory = OpenThroughLinks(path, {O_PATH | O_DIRECTORY, std::nullopt, StrangersLinks::refused});
    }
    return directory;
}

OpenedFile sys_createIn(int directory, const std::string& name) {
    constexpr int exclusive = O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | careful;
    return Opened(openat(directory, name.c_str(), exclusive, 0600), name, true);
}

void sys_removeIn(int directory, const std::string& name) noexcept {
    unlinkat(directory, name.c_str(), 0);
}

int sys_renameIn(int directory, const std::string& from, const std::string& to) noexcept {
    return renameat(directory, from.c_str(), directory, to.c_str()) == 0 ? 0 : errno;
}
