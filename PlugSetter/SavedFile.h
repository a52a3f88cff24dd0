#pragma once

#include "Mis/Unix/Descriptor.h"
#include "Mis/Unix/FileAccess.h"
#include "Mis/Unix/FileStatus.h"
#include "PlugSetter/CopyDirectory.h"

#include <cstdint>
#include <string>

struct FileContent;
struct OpenedFile;

/// A file that is to be changed, and the copy that is put back if that fails.
///
/// What it guarantees: what is copied, read and changed is one file, and what is put back is the copy of it. Others may
/// put other files under both names meanwhile. So the file, the copy and the copy's directory stay open from the first
/// look to the end, and a name that leads elsewhere by then counts for nothing: the change fails, and nothing that
/// somebody else has put there is overwritten.
///
///     SavedFile file(name);                // asks nothing yet
///     file.Open();                         // must answer Presence::present
///     file.CopyTo(copy, lock);             // throws; the file has only been read
///     file.Read(limit, content);           // Reading::done
///     file.Write(text);                    // Writing::done, or Writing::refused: the file stays as it is
///     file.Restore();                      // if a step after CopyTo has failed
///
/// The copy is written under another name beside its place, "Global.qxc.new" for example, and takes the place when it
/// is whole and on the disk. So the copy of an earlier run stays whole until then, and nobody has the new one open.
/// Where the directory does not let a file be made or replaced, and where the place holds a device or a link of root or
/// of this user, the place is written over instead.
class SavedFile {
public:
    explicit SavedFile(std::string path);

    /// Opens the file for reading. Presence::unknown: the system could not tell whether it is there. Throws a pointer
    /// to VI18NError (error): BSTR 4144 (file) when it is there but cannot be opened; UTIL 7948 (file) when a
    /// stranger's link stands in its place and does not lead to the stranger's own file.
    Presence Open();

    /// Who may read the file, as it was when it was opened. REQUIRES: the file is open.
    FileAccess Access() const;

    /// Copies the file byte for byte to `copy`, a name with its directory, which is made if it is missing and locked
    /// behind `first`. Nobody who cannot read the file can read the copy, unless its place is a device or, behind a
    /// link, a file with further names. On return the copy and its directory are on the disk. REQUIRES: the file is
    /// open.
    ///
    /// Throws a pointer to VI18NError (error): what CopyDirectory::Open throws; BSTR 4145 (copy) when the copy cannot
    /// be opened for writing, would be the file itself, is a FIFO, or lies behind a stranger's link; BSTR 4152 (copy)
    /// when it cannot be written or moved to its place; UTIL 7947 ("upgrade() ") when it would be written over the open
    /// log; UTIL 7947 ("backupFile()") when it is incomplete, has been replaced, or may not be on the disk, and for any
    /// exception but a pointer to VI18NError.
    void CopyTo(const std::string& copy, DirectoryLock& first);

    enum class Reading {
        done,
        failed,  ///< the file is larger than the limit or cannot be read
        changed, ///< it does not hold any more what was copied
    };
    /// Reads the file. REQUIRES: it was copied.
    Reading Read(std::uint64_t limit, FileContent& content) const;

    enum class Writing {
        done,
        refused, ///< the file stays as it is: it must not be written, or `text` is longer than this process may write
        changed, ///< the file stays as it is: it is gone, is another one, or does not hold any more what was copied
        failed,  ///< the file may be damaged; or it stays as it is, for want of room or by an error of the system
    };
    /// Writes `text` over the file, as sys_overwrite does. Signals that would end the process wait from now on.
    /// REQUIRES: it was copied.
    Writing Write(std::string text);

    /// True when file and copy are regular files, and the name of the file leads to the one that was copied, which has
    /// not changed. REQUIRES: it was copied.
    bool IsUntouched() const;

    /// Makes the file hold the bytes of the copy again. Returns: true when it does and its name leads to it. A file
    /// that Write has not opened is never written: when it still is what was copied, its times are set to now;
    /// otherwise somebody else has changed it, and the answer is false. REQUIRES: it was copied.
    bool Restore() const;

    /// The same for a file of which no more is known than the names of file and copy. The file is written whatever it
    /// holds, and created with the owner and the permissions of the copy if it is missing (DISK 4341 is logged when its
    /// directory cannot be made). Returns: true also when there is no copy.
    static bool Restore(const std::string& path, const std::string& copy);

private:
    void CheckPlace(const FileStatus& place, const std::string& copy) const;
    bool CopyBeside(const std::string& copy);
    void CopyInPlace(const std::string& copy, const FileStatus& place);
    bool MakeFit(const OpenedFile& output, const FileStatus& place) const;
    void Fill(const OpenedFile& output, const std::string& copy) const;
    bool HoldsWhatWasCopied(const FileStatus& now, int file) const;

    std::string m_path;
    Descriptor m_file;   ///< for reading
    FileStatus m_status; ///< of m_file, before it was copied
    CopyDirectory m_directory;
    Descriptor m_copy;
    Descriptor m_output; ///< the file, for writing; not open before Write
};
