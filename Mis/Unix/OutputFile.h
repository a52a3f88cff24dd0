#pragma once

#include "Mis/Unix/Descriptor.h"
#include "Mis/Unix/FileStatus.h"

#include <string>

#include <sys/types.h>

/// A file that was opened for a copy or a log.
struct OutputFile {
    Descriptor file; ///< not open when it failed; errno tells why
    bool created = false;
    FileStatus status; ///< of the open file, before anything is changed
};

/// Opens `path` for a copy or a log, made with `mode` when it is missing, in the way of `flags` (as open takes them,
/// without those that create or truncate). The place may be one to which others have access, so a link is followed
/// only if it belongs to root or to the user of this process, and a FIFO, which could make the process wait, is
/// refused. Nothing of what is there is changed.
OutputFile sys_openOutput(const std::string& path, int flags, mode_t mode);
