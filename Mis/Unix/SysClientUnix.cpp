#include "Mis/Unix/SysClientUnix.h"

#include "Mis/NamCommon.h"
#include "Mis/Report.h"
#include "Mis/Unix/FileStatus.h"

#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <dirent.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace {

struct DirectoryCloser {
    void operator()(DIR* directory) const noexcept { closedir(directory); }
};

void LogUnreadable(const std::string& directory, const char* pattern, int error) {
    msg_log(msgCannotReadDirectory, directory.c_str(), pattern, std::strerror(error));
}

/// The full names of the entries of `directory` that match. Removing entries while the directory is being read could
/// skip some, so they are collected first.
std::vector<std::string> MatchingEntries(const std::string& directory, const char* pattern) {
    std::vector<std::string> names;
    const std::unique_ptr<DIR, DirectoryCloser> stream(opendir(directory.c_str()));
    if (stream == nullptr) {
        if (errno != ENOENT) {
            LogUnreadable(directory, pattern, errno);
        }
        return names;
    }
    while (const dirent* entry = readdir(stream.get())) {
        const std::string_view name = entry->d_name;
        const std::string fullName = directory + entry->d_name;
        if (name != "." && name != ".." && nam_fmtmatch(SIDF_LCL_NS, fullName.c_str(), pattern)) {
            names.push_back(fullName);
        }
    }
    return names;
}

void DeleteMatching(const char* pattern) {
    const std::string_view path = pattern;
    const std::string directory(path.substr(0, path.rfind('/') + 1));
    for (const std::string& name : MatchingEntries(directory, pattern)) {
        if (FileStatus::OfEntry(name).IsDirectory()) {
            DeleteMatching((name + "/*.*").c_str());
        }
        sys_remove(name.c_str());
    }
}

} // namespace

bool sys_remove(const char* path) {
    return std::remove(path) == 0;
}

bool sys_removeDirectory(const char* path) {
    return rmdir(path) == 0;
}

bool sys_delete(const char* path) {
    if (std::strpbrk(path, "*?") == nullptr) {
        return sys_remove(path);
    }
    DeleteMatching(path);
    return true;
}

int sys_getnodename(char* buffer, int /*size*/) {
    utsname host = {};
    if (uname(&host) != 0) {
        return 0;
    }
    const std::string_view fullName = host.nodename;
    const std::string_view shortName = fullName.substr(0, fullName.find('.'));
    shortName.copy(buffer, shortName.size());
    buffer[shortName.size()] = '\0';
    return 1;
}

std::FILE* sys_fopen(const char* path, const char* mode, int /*share*/) {
    if (path == nullptr || *path == '\0' || mode == nullptr) {
        return nullptr;
    }
    return std::fopen(path, mode);
}

int sys_InterlockedIncrement(int* value) noexcept {
    return ++*value;
}

int sys_InterlockedDecrement(int* value) noexcept {
    return --*value;
}

VI18NError* getSystemError() {
    const int error = errno;
    if (error == 0) {
        return nullptr;
    }
    return err_make(msgSystemError, std::strerror(error)).release();
}
