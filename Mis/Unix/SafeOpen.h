#pragma once

#include "Mis/Unix/Descriptor.h"
#include "Mis/Unix/FileStatus.h"

#include <string>

#include <fcntl.h>
#include <sys/types.h>

/// Opening files in places to which others may have access.
///
/// What stands at a name may be a link, and another thing a moment later. So each of these functions opens first and
/// then asks the open file what it is. Links at the end of a path are followed one by one:
///
///  - A link of root or of the user of this process is followed. Nobody else can have put it there.
///  - The link of a stranger, that is of anybody else, would make this process read or write, with its own rights, what
///    the stranger chooses. It is refused, or followed only to a file of the same stranger; with several such links all
///    have one owner.
///
/// Directories on the way are not asked. A link itself is opened before its owner and its text are read, so nobody can
/// swap it in between.

/// A file that was opened, or why it was not.
struct OpenedFile {
    Descriptor file;
    int error = 0;          ///< errno when the file is not open
    bool isRefused = false; ///< not open because of a stranger's link
    bool created = false;   ///< also when the system could not tell what was created, so that it is not open
    std::string path;       ///< where the links ended; empty for a link that stands for an open file of a process
    FileStatus status;      ///< of the open file, before anything is changed

    bool IsOpen() const noexcept { return file.IsOpen(); }
    int Number() const noexcept { return file.Number(); }
};

enum class StrangersLinks { refused, followedToOwnFiles };

/// Opens a file to read it. A FIFO makes the process wait unless `flags` has O_NONBLOCK.
OpenedFile sys_openInput(const std::string& path, int flags = O_RDONLY,
                         StrangersLinks strangersLinks = StrangersLinks::followedToOwnFiles);

/// Opens a file that exists for reading and writing, as sys_openInput follows links, but without waiting, so that a
/// FIFO put there does not hold the process up. Waits up to a minute for another process that has a lease on the file.
OpenedFile sys_openToChange(const std::string& path);

/// Opens a file to write it, and creates it with `mode` when it is missing. `flags` are those of open, without the ones
/// that create or truncate. Refuses strangers' links, and a FIFO (ENXIO), which could make the process wait. `path` is
/// relative to the open directory `base`.
OpenedFile sys_openOutput(const std::string& path, int flags, mode_t mode, int base = AT_FDCWD);

/// Opens a directory; refuses strangers' links. One that cannot be read is opened as a place only (O_PATH).
OpenedFile sys_openDirectory(const std::string& path);

/// Entries of an open directory, by their names in it.

/// Makes a file that is not there yet, open for reading and writing, for its owner only.
OpenedFile sys_createIn(int directory, const std::string& name);
/// Removes an entry that is no directory, if that is possible.
void sys_removeIn(int directory, const std::string& name) noexcept;
/// Puts the entry `from` in the place of `to`. Returns: 0, or errno.
int sys_renameIn(int directory, const std::string& from, const std::string& to) noexcept;
