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

/// The name to which `path` leads when the links at its end are followed.
std::string Followed(std::string path) {
    for (int links = 0; links < sys_mostLinks; ++links) {
        const std::optional<std::string> target = sys_linkTarget(path);
        if (!target) {
            break;
        }
        path = *target;
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

FileStatus FileStatus::OfEntry(int directory, const std::string& name) noexcept {
    struct stat status = {};
    const int result = fstatat(directory, name.c_str(), &status, AT_SYMLINK_NOFOLLOW);
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

bool FileStatus::BelongsHere() const noexcept {
    return IsPresent() && (m_status.st_uid == 0 || m_status.st_uid == geteuid());
}

bool FileStatus::IsSameAs(const FileStatus& other) const noexcept {
    return IsPresent() && other.IsPresent() && m_status.st_dev == other.m_status.st_dev &&
           m_status.st_ino == other.m_status.st_ino;
}

bool FileStatus::HasTimeOf(const FileStatus& other) const noexcept {
    const timespec& time = m_status.st_mtim;
    const timespec& otherTime = other.m_status.st_mtim;
    return IsPresent() && other.IsPresent() && time.tv_sec == otherTime.tv_sec && time.tv_nsec == otherTime.tv_nsec;
}

bool sys_isSameFile(const std::string& path, const std::string& file, const FileStatus& status) {
    const FileStatus other = FileStatus::Of(path);
    const bool areMissing = other.GetPresence() == Presence::missing && status.GetPresence() == Presence::missing;
    const bool isUnknown = other.GetPresence() == Presence::unknown || status.GetPresence() == Presence::unknown;
    return areMissing || isUnknown ? sys_isSameEntry(Followed(path), Followed(file)) : other.IsSameAs(status);
}

bool sys_isSameEntry(const std::string& a, const std::string& b) {
    const std::string first = sys_withoutSeparator(a);
    const std::string second = sys_withoutSeparator(b);
    return first.substr(first.rfind('/') + 1) == second.substr(second.rfind('/') + 1) &&
           FileStatus::Of(sys_directoryOf(first)).IsSameAs(FileStatus::Of(sys_directoryOf(second)));
}

bool sys_leadsThrough(std::string path, const std::string& entry) {
    int links = 0;
    for (std::size_t end = path.find('/', 1); links <= sys_mostLinks; end = path.find('/', end + 1)) {
        const std::string step = path.substr(0, end);
        if (sys_isSameEntry(step, entry)) {
            return true;
        }
        if (const std::optional<std::string> target = sys_linkTarget(step)) {
            path = *target + (end == std::string::npos ? "" : path.substr(end));
            end = 0;
            ++links;
        } else if (end == std::string::npos) {
            return false;
        }
    }
    return false;
}

std::optional<std::string> sys_linkTarget(const std::string& path, int link) {
    char text[PATH_MAX];
    const ssize_t length = readlinkat(link, link == AT_FDCWD ? path.c_str() : "", text, sizeof text);
    if (length < 0) {
        return std::nullopt;
    }
    const std::string target(text, static_cast<std::size_t>(length));
    return target.starts_with('/') ? target : sys_directoryOf(path) + target;
}

std::string sys_directoryOf(const std::string& path) {
    const std::size_t separator = path.rfind('/');
    return separator == std::string::npos ? "./" : path.substr(0, separator + 1);
}

std::string sys_withoutSeparator(std::string path) {
    while (path.size() > 1 && path.ends_with('/')) {
        path.pop_back();
    }
    return path;
}
