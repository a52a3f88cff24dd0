#include "Mis/Unix/Dsk.h"

#include "Mis/Report.h"
#include "Mis/Unix/FileStatus.h"

#include <cerrno>
#include <cstring>

#include <sys/stat.h>

namespace {

/// Returns: 0, or the error.
int MakeDirectory(const std::string& path, std::vector<std::string>& changed) {
    const FileStatus status = FileStatus::Of(path);
    if (status.GetPresence() != Presence::missing) {
        return status.IsDirectory() ? 0 : ENOTDIR;
    }
    if (mkdir(path.c_str(), 0700) == 0) {
        changed.push_back(sys_directoryOf(path));
        return 0;
    }
    const int error = errno;
    // Another process may have made it meanwhile.
    return error == EEXIST && FileStatus::Of(path).IsDirectory() ? 0 : error;
}

int MakeDirectories(const std::string& path, std::vector<std::string>& changed) {
    int error = 0;
    for (std::size_t slash = path.find('/', 1); slash != std::string::npos && error == 0;
         slash = path.find('/', slash + 1)) {
        error = MakeDirectory(path.substr(0, slash), changed);
    }
    return error;
}

/// Makes the directories, once more if one that was there is gone: a neighbour may delete those that are empty.
bool MakePath(const std::string& path, std::vector<std::string>& changed) {
    const int error = MakeDirectories(path, changed);
    return error == 0 || (error == ENOENT && MakeDirectories(path, changed) == 0);
}

int NotMade(const char* dirspec) {
    msg_log(msgDirectoryNotMade, dirspec);
    return -1;
}

} // namespace

int CreateUnixPath(const char* dirspec) {
    std::vector<std::string> changed;
    return FileStatus::Of(dirspec).IsPresent() || MakePath(dirspec, changed) ? 1 : 0;
}

int dsk_makeDirectories(const std::string& dirspec, std::vector<std::string>& changed) {
    return MakePath(dirspec, changed) ? 1 : NotMade(dirspec.c_str());
}

int dsk_credir(void* /*device*/, const char* dirspec, unsigned /*opts*/, void* attributes, char* fullname, int) {
    if (fullname != nullptr) {
        *fullname = '\0';
    }
    if (CreateUnixPath(dirspec) < 1 || attributes != nullptr) {
        return NotMade(dirspec);
    }
    if (fullname != nullptr) {
        std::strcpy(fullname, dirspec);
    }
    return 1;
}
