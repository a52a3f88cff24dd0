#pragma once

#include <string>

namespace txccl {

class FilenameHelper {
public:
    static constexpr char POSIX_PATH_SEPARATOR = '/';

    /// `a` and `b` joined with exactly one separator between them; two empty texts give the separator alone.
    static std::string join(const std::string& a, const std::string& b);

    /// `path` with every run of separators collapsed to one. Backslashes are characters of a name here, so
    /// that a network name keeps its two leading ones.
    static std::string squeeze(const std::string& path);

    /// Converts UTF-8 to the local code page. The local code page of this platform is UTF-8 itself, so the
    /// text passes through.
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
