#pragma once

#include <optional>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>

/// What the system says of a file: whether it is there, its kind, and which file it is.

enum class Presence {
    present,
    missing, ///< the name leads to nothing
    unknown, ///< the system could not tell
};

class FileStatus {
public:
    /// Nothing is known yet.
    FileStatus() = default;
    /// Of the file that `path` names, links followed.
    static FileStatus Of(const std::string& path) noexcept;
    /// Of the entry `path` itself, which may be a link.
    static FileStatus OfEntry(const std::string& path) noexcept;
    /// Of the entry `name` of an open directory.
    static FileStatus OfEntry(int directory, const std::string& name) noexcept;
    /// Of an open file.
    static FileStatus Of(int descriptor) noexcept;

    Presence GetPresence() const noexcept { return m_presence; }
    bool IsPresent() const noexcept { return m_presence == Presence::present; }
    /// All that follows is false or 0 unless the file is present.
    bool IsRegular() const noexcept { return S_ISREG(m_status.st_mode); }
    bool IsDirectory() const noexcept { return S_ISDIR(m_status.st_mode); }
    bool IsLink() const noexcept { return S_ISLNK(m_status.st_mode); }
    bool IsPipe() const noexcept { return S_ISFIFO(m_status.st_mode); }
    /// True for a regular file without further hard links.
    bool HasOneName() const noexcept { return IsRegular() && m_status.st_nlink == 1; }
    off_t Size() const noexcept { return m_status.st_size; }
    /// The bytes of the blocks that the file occupies; holes occupy none.
    off_t Allocated() const noexcept;
    /// Seconds since 1970.
    time_t Modified() const noexcept { return m_status.st_mtime; }
    uid_t Owner() const noexcept { return m_status.st_uid; }
    /// True when the owner is root or the user of this process.
    bool BelongsHere() const noexcept;
    gid_t Group() const noexcept { return m_status.st_gid; }
    mode_t Permissions() const noexcept { return m_status.st_mode & 0777U; }

    /// True when both are present and the same file. Keep the file open between the two looks: the number of a deleted
    /// one is given to another.
    bool IsSameAs(const FileStatus& other) const noexcept;
    /// True when both are present and were last written at the same time.
    bool HasTimeOf(const FileStatus& other) const noexcept;

private:
    FileStatus(int result, const struct stat& status) noexcept;

    Presence m_presence = Presence::unknown;
    struct stat m_status = {};
};

/// True when `path` leads to the file with this name and status, or would lead there once that is made.
bool sys_isSameFile(const std::string& path, const std::string& file, const FileStatus& status);

/// True when both names mean the same entry of the same directory, whether the entry exists or not. A "/" at the end
/// does not count.
bool sys_isSameEntry(const std::string& a, const std::string& b);

/// True when `entry` is one of the entries by which the system gets to `path`, links followed: without it, `path` would
/// lead elsewhere or nowhere.
bool sys_leadsThrough(std::string path, const std::string& entry);

/// As many links as the system follows for one name.
constexpr int sys_mostLinks = 40;

/// The name to which the link `path` leads, which need not exist. `link` is the link itself opened with O_PATH and is
/// read in place of `path`. Returns: none when there is no link to read.
std::optional<std::string> sys_linkTarget(const std::string& path, int link = AT_FDCWD);

/// The directory part of `path` with its separator; "./" when there is none.
std::string sys_directoryOf(const std::string& path);

/// `path` without separators at its end, by which the system would follow a link; that of the root stays.
std::string sys_withoutSeparator(std::string path);
