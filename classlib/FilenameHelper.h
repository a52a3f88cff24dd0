#pragma once

#include <string>

namespace txccl {

class FilenameHelper {
public:
    static constexpr char POSIX_PATH_SEPARATOR = '/';

    /// `a`, a separator and `b`, squeezed. So two empty texts give the separator alone.
    static std::string join(const std::string& a, const std::string& b);

    /// `path` with every run of separators collapsed to one. A backslash is no separator here, so a network name keeps
    /// its two leading ones.
    static std::string squeeze(const std::string& path);

    /// Converts UTF-8 to the local code page. On this platform that is UTF-8, too, so the text stays as it is.
    class UTF8_CodePage {
    public:
        std::string convert(const std::string& text) const { return text; }
    };

    /// The opposite direction.
    class CodePage_UTF8 {
    public:
        std::string convert(const std::string& text) const { return text; }
    };
};

} // namespace txccl
