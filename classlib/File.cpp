#include "classlib/File.h"

#include "Mis/Unix/FileStatus.h"

namespace txccl {

bool File::exists(const std::string& path) {
    return !path.empty() && FileStatus::OfEntry(path).IsPresent();
}

} // namespace txccl
