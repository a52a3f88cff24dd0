#pragma once

#include "qxc/Request.h"

/// The commands that ask about a configuration. One that is refused is answerNo to checkFiles and answerUnknown to the
/// others; one that cannot be read is answerUnknown to all.

/// Prints each refusal as FILE:LINE: TEXT: CAUSE. Returns: the worst answer for any of the files.
Answer checkFiles(const Request& request);

/// Prints each occupied slot: its number, and the name, library and description of its plug-in.
Answer listPlugins(const Request& request);

/// Prints the bytes of a value and a line end. Returns: answerNo when the key has none, or there is no such key.
Answer getValue(const Request& request);

/// Prints all keys with their values, those of passwords and licence keys only on request.
Answer listKeys(const Request& request);
