#pragma once

#include "Mis/Unix/Descriptor.h"
#include "Mis/Unix/FileStatus.h"

#include <string>

#include <sys/types.h>

/// A file opened for writing.
struct OutputFile {
    Descriptor file; ///< not open on failure; errno tells why
    bool created = false;
    FileStatus status; ///< of the open file, before anything is changed
};

/// Opens `path` for a copy or a log, and creates it with `mode` when it is missing. `flags` are those of open, without
/// the ones that create or truncate. Others may have access to the place, so two things are refused: a link that
/// belongs neither to root nor to the user of this process, and a FIFO, which could make the process wait. A file that
/// is there is not changed.
OutputFile sys_openOutput(const std::string& path, int flags, mode_t mode);
