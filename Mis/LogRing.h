#pragma once

#include "Mis/Log.h"

#include <vector>

/// The choice among the files of a numbered log.

/// Returns: the position in `files` of the one to write next; `recycle` is set when it is full and must be deleted
/// first. The newest file is filled up to `limit` bytes; then comes the first missing one behind it, around the ring,
/// and when none is missing the oldest, which must be older than `now`, or else the newest again. REQUIRES: files is
/// not empty.
std::size_t ChooseLogFile(const std::vector<logfilelist>& files, long long limit, long long now, bool& recycle);
