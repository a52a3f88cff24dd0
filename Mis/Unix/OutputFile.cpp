#include "Mis/Unix/OutputFile.h"

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/vfs.h>

namespace {

constexpr int careful = O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

OutputFile OpenEntry(const std::string& path, int flags, mode_t mode) {
    Descriptor created(open(path.c_str(), flags | O_CREAT | O_EXCL | careful, mode));
    if (created.IsOpen() || errno != EEXIST) {
        const bool isNew = created.IsOpen();
        return {std::move(created), isNew, {}};
    }
    return {Descriptor(open(path.c_str(), flags | careful)), false, {}};
}

/// True for a link of the process file system, such as /proc/self/fd/1. It stands for an open file, and its text need
/// not be a name.
bool IsProcessLink(int link) {
    struct statfs system = {};
    return fstatfs(link, &system) == 0 && system.f_type == PROC_SUPER_MAGIC;
}

/// The link itself, if it may be followed. Its owner and, later, its text are read through this descriptor, so nobody
/// can swap the link in between.
Descriptor OpenOwnLink(const std::string& path) {
    Descriptor link(open(path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    const FileStatus status = FileStatus::Of(link.Number());
    const bool isOwn = status.Owner() == 0 || status.Owner() == geteuid();
    return status.IsLink() && isOwn ? std::move(link) : Descriptor();
}

/// `isOpenFile` is set when the last link stands for a file that a process has open. A pipe there is allowed.
OutputFile OpenThroughLinks(std::string path, int flags, mode_t mode, bool& isOpenFile) {
    for (int links = 0; links <= sys_mostLinks; ++links) {
        OutputFile output = OpenEntry(path, flags, mode);
        if (output.file.IsOpen() || errno != ELOOP) {
            return output;
        }
        const Descriptor link = OpenOwnLink(path);
        if (!link.IsOpen()) {
            break;
        }
        if (IsProcessLink(link.Number())) {
            isOpenFile = true;
            return {Descriptor(open(path.c_str(), flags | (careful & ~O_NOFOLLOW))), false, {}};
        }
        const std::optional<std::string> target = sys_linkTarget(path, link.Number());
        if (!target) {
            break;
        }
        path = *target;
    }
    errno = ELOOP;
    return {};
}

} // namespace

OutputFile sys_openOutput(const std::string& path, int flags, mode_t mode) {
    bool isOpenFile = false;
    OutputFile output = OpenThroughLinks(path, flags, mode, isOpenFile);
    if (!output.file.IsOpen()) {
        return output;
    }
    output.status = FileStatus::Of(output.file.Number());
    if (!output.status.IsPresent() || (output.status.IsPipe() && !isOpenFile)) {
        errno = ENXIO;
        return {};
    }
    if (!output.status.IsRegular()) {
        fcntl(output.file.Number(), F_SETFL, flags);
    }
    return output;
}
