#include "classlib/File.h"

#include <sys/stat.h>

namespace txccl {

bool File::exists(const std::string& path) {
    struct stat status = {};
    return !path.empty() && lstat(path.c_str(), &status) == 0;
}

} // namespace txccl
