#pragma once

#include <string>

/// Brings to the disk what has been written, so that it outlasts a loss of power.

/// Returns: false when bytes were lost or may not be on the disk (EIO, ENOSPC, EDQUOT). What cannot be synchronised, a
/// device for example, is no failure.
bool sys_synchronise(int descriptor) noexcept;

/// Does the same for the entries of a directory. One that cannot be opened is no failure either.
bool sys_synchroniseDirectory(const std::string& directory) noexcept;
