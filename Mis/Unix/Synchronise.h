#pragma once

#include <string>

/// Bringing to the disk what has been written, so that it outlasts a loss of power.

/// Synchronises an open file. Returns: false when bytes were lost or may not be on the disk (EIO, ENOSPC, EDQUOT). A
/// file that cannot be synchronised, such as a device, is no failure.
bool sys_synchronise(int descriptor) noexcept;

/// Does the same for the entries of a directory. One that cannot be opened is no failure either, unless with one of
/// these errors.
bool sys_synchroniseDirectory(const std::string& directory) noexcept;
