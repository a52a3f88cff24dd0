#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

/// A scratch directory that is deleted with this object.
class TempDir {
public:
    TempDir() {
        if (mkdtemp(m_path.data()) == nullptr) {
            throw std::runtime_error("no scratch directory");
        }
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    ~TempDir() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    /// The full name of an entry. An empty name gives the directory itself with its separator.
    std::string operator/(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path = std::filesystem::temp_directory_path() / "plugsetter-XXXXXX";
};

/// A scratch directory that is the current directory while this object lives.
class CurrentTempDir : public TempDir {
public:
    CurrentTempDir() { std::filesystem::current_path(*this / ""); }
    ~CurrentTempDir() { std::filesystem::current_path("/"); }
};

/// How many files this process has open.
inline long OpenFiles() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

inline void WriteFile(const std::string& path, const std::string& text) {
    std::filesystem::create_directories(std::filesystem::absolute(path).parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

inline std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}
