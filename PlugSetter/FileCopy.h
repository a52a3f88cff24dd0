#pragma once

#include "Mis/BinStrm.h"

#include <string>

/// Copies the file `source` byte for byte to `destination`, both full names, and brings the copy to the disk, with its
/// entry and the entries of the directories that are made for it. A copy is complete or it fails: a regular one has the
/// size of its regular source in the end. Nobody who cannot read the source can read the copy.
///
/// Throws a pointer to VI18NError: 4341 (directory) when the destination's directory cannot be made; BSTR 4145
/// (destination) when the copy cannot be opened for writing, would be the source itself, is a FIFO, or lies behind a
/// link of another user than root and this one; 7947 ("backupFile()") when the copy is not complete, may not be on the
/// disk, or for what no error object explains; and what the streams throw.
void copyFile(const std::string& source, const std::string& destination, VBinaryStream::AccessMode mode);
