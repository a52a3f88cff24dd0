#include "Mis/Unix/UtilitiesUnix.h"

#include <climits>
#include <cstdlib>

#include <unistd.h>

bool doesFileExist(const char* path) {
    return access(path, F_OK) == 0;
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
