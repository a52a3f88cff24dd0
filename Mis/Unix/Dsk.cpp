#include "Mis/Unix/Dsk.h"

#include "Mis/Report.h"
#include "Mis/Unix/FileStatus.h"

#include <cerrno>
#include <cstring>
#include <string>

#include <sys/stat.h>

namespace {

bool MakeDirectory(const std::string& path) {
    const FileStatus status = FileStatus::Of(path);
    if (status.GetPresence() != Presence::missing) {
        return status.IsDirectory();
    }
    if (mkdir(path.c_str(), 0700) == 0) {
        return true;
    }
    // Another process may have made it meanwhile.
    return errno == EEXIST && FileStatus::Of(path).IsDirectory();
}

} // namespace

int CreateUnixPath(const char* dirspec) {
    const std::string path = dirspec;
    if (FileStatus::Of(path).IsPresent()) {
        return 1;
    }
    for (std::size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1)) {
        if (!MakeDirectory(path.substr(0, slash))) {
            return 0;
        }
    }
    return 1;
}

int dsk_credir(void* /*device*/, const char* dirspec, unsigned /*opts*/, void* attributes, char* fullname, int) {
    if (fullname != nullptr) {
        *fullname = '\0';
    }
    if (CreateUnixPath(dirspec) < 1 || attributes != nullptr) {
        msg_log(msgDirectoryNotMade, dirspec);
        return -1;
    }
    if (fullname != nullptr) {
        std::strcpy(fullname, dirspec);
    }
    return 1;
}
