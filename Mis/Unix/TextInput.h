#pragma once

#include <cstddef>
#include <string>

/// Reads a file, a pipe or a device to its end; "-" names standard input. Returns: 0, or the error number of what
/// failed, EFBIG for a text of more than `limit` bytes. `text` is then of no use.
int sys_readToEnd(const std::string& name, std::size_t limit, std::string& text);
