#pragma once

/// Disk and directory services. dsk_ functions answer with a number above 0 or -1, and log what failed.

/// Creates the directories leading to `dirspec`, that is all of it when it ends in "/". Returns: 1, or -1 after logging
/// DISK 4341 (error, `dirspec`). `fullname`, unless null, is set to "" and on success to `dirspec`, for which it must
/// have room. `device`, `opts` and the last argument play no part; stored `attributes` cannot be read and are a
/// failure.
int dsk_credir(void* device, const char* dirspec, unsigned opts, void* attributes, char* fullname = nullptr, int = 0);

/// Creates every directory of `dirspec` that a "/" follows, with mode 0700. Returns: 1 also when the path exists, of
/// whatever kind; 0 on failure.
int CreateUnixPath(const char* dirspec);
