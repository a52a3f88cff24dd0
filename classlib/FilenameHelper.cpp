#include "classlib/FilenameHelper.h"

namespace txccl {

std::string FilenameHelper::squeeze(const std::string& path) {
    std::string squeezed;
    squeezed.reserve(path.size());
    for (const char c : path) {
        if (c != POSIX_PATH_SEPARATOR || !squeezed.ends_with(POSIX_PATH_SEPARATOR)) {
            squeezed += c;
        }
    }
    return squeezed;
}

std::string FilenameHelper::join(const std::string& a, const std::string& b) {
    return squeeze(a + POSIX_PATH_SEPARATOR + b);
}

} // namespace txccl
