#pragma once

#include <string>
#include <vector>

/// Disk and directory services. dsk_ functions return a number above 0, or -1 after logging what failed.

/// Creates the directories leading to `dirspec`, or all of it when it ends in "/". Returns: 1, or -1 after logging DISK
/// 4341 (error, `dirspec`). `fullname`, unless null, must have room for `dirspec`: it is set to that on success, else
/// to "". `attributes` other than null cannot be applied, so the answer is then -1. The other arguments are ignored.
int dsk_credir(void* device, const char* dirspec, unsigned opts, void* attributes, char* fullname = nullptr, int = 0);

/// Creates them likewise, and adds to `changed` each directory that got a new entry.
int dsk_makeDirectories(const std::string& dirspec, std::vector<std::string>& changed);

/// Creates every directory of `dirspec` that is followed by a "/", with mode 0700. Returns: 1, also when `dirspec`
/// exists already and is no directory; 0 on failure. Logs nothing.
int CreateUnixPath(const char* dirspec);
