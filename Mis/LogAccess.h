#pragma once

#include "Mis/Unix/FileAccess.h"

#include <optional>

/// Who may read the logs that are made or truncated from now on. A new log is given this access less what the umask
/// takes; batutil_LogOpen says when one that is truncated is made anew. One that is continued stays as it is. Without a
/// value the umask decides on new ones.
extern std::optional<FileAccess> g_logAccess;
