#pragma once

#include <string>

namespace txccl {

class File {
public:
    /// True when `path` names something, a dangling symbolic link included; false for an empty path.
    static bool exists(const std::string& path);
};

} // namespace txccl
