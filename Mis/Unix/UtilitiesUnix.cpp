#include "Mis/Unix/UtilitiesUnix.h"

#include <cerrno>
#include <climits>
#include <cstdlib>

#include <sys/stat.h>
#include <unistd.h>

bool doesFileExist(const char* path) {
    return access(path, F_OK) == 0;
}

bool sys_meansMissing(int error) noexcept {
    return error == ENOENT || error == ENOTDIR || error == ENAMETOOLONG || error == ELOOP;
}

bool sys_regularFileSize(const char* path, std::uint64_t& size) {
    struct stat status = {};
    if (stat(path, &status) != 0 || !S_ISREG(status.st_mode)) {
        return false;
    }
    size = static_cast<std::uint64_t>(status.st_size);
    return true;
}

bool sys_isSameFile(const char* a, const char* b) {
    struct stat first = {};
    struct stat second = {};
    return stat(a, &first) == 0 && stat(b, &second) == 0 && first.st_dev == second.st_dev &&
           first.st_ino == second.st_ino;
}

std::string prs_getprogramsdir() {
    char program[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", program, sizeof program);
    if (length < 0) {
        return {};
    }
    const std::string path(program, static_cast<std::size_t>(length));
    return path.substr(0, path.rfind('/') + 1);
}

void SetOracleHome(const char* directory) {
    setenv("ORACLE_HOME", directory, 1);
}
