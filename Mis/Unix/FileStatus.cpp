#include "Mis/Unix/FileStatus.h"

#include <cerrno>
#include <climits>

#include <unistd.h>

namespace {

Presence PresenceBy(int error) noexcept {
    switch (error) {
    case ENOENT:
    case ENOTDIR:
    case ENAMETOOLONG:
    case ELOOP: return Presence::missing;
    default: return Presence::unknown;
    }
}

std::string WithoutSeparator(std::string path) {
    while (path.size() > 1 && path.ends_with('/')) {
        path.pop_back();
    }
    return path;
}

/// The name to which `path` leads when the links at its end are followed. It need not exist.
std::string Followed(std::string path) {
    constexpr int mostLinks = 40;
    char target[PATH_MAX];
    for (int links = 0; links < mostLinks; ++links) {
        const ssize_t length = readlink(path.c_str(), target, sizeof target);
        if (length < 0) {
            break;
        }
        const std::string text(target, static_cast<std::size_t>(length));
        path = text.starts_with('/') ? text : sys_directoryOf(path) + text;
    }
    return path;
}

} // namespace

FileStatus::FileStatus(int result, const struct stat& status) noexcept
    : m_presence(result == 0 ? Presence::present : PresenceBy(errno)), m_status(status) {}

FileStatus FileStatus::Of(const std::string& path) noexcept {
    struct stat status = {};
    const int result = stat(path.c_str(), &status);
    return {result, status};
}

FileStatus FileStatus::OfEntry(const std::string& path) noexcept {
    struct stat status = {};
    const int result = lstat(path.c_str(), &status);
    return {result, status};
}

FileStatus FileStatus::Of(int descriptor) noexcept {
    struct stat status = {};
    const int result = fstat(descriptor, &status);
    return {result, status};
}

off_t FileStatus::Allocated() const noexcept {
    constexpr off_t unit = 512;
    return m_status.st_blocks * unit;
}

bool FileStatus::IsSameAs(const FileStatus& other) const noexcept {
    return IsPresent() && other.IsPresent() && m_status.st_dev == other.m_status.st_dev &&
           m_status.st_ino == other.m_status.st_ino;
}

bool sys_isSameFile(const std::string& path, const std::string& file, const FileStatus& status) {
    const FileStatus other = FileStatus::Of(path);
    const bool areMissing = other.GetPresence() == Presence::missing && status.GetPresence() == Presence::missing;
    const bool isUnknown = other.GetPresence() == Presence::unknown || status.GetPresence() == Presence::unknown;
    return areMissing || isUnknown ? sys_isSameEntry(Followed(path), Followed(file)) : other.IsSameAs(status);
}

bool sys_isSameEntry(const std::string& a, const std::string& b) {
    const std::string first = WithoutSeparator(a);
    const std::string second = WithoutSeparator(b);
    return first.substr(first.rfind('/') + 1) == second.substr(second.rfind('/') + 1) &&
           FileStatus::Of(sys_directoryOf(first)).IsSameAs(FileStatus::Of(sys_directoryOf(second)));
}

std::string sys_directoryOf(const std::string& path) {
    const std::size_t separator = path.rfind('/');
    return separator == std::string::npos ? "./" : path.substr(0, separator + 1);
}
