#include "PlugSetter/FileCopy.h"

#include "Mis/BinStrm.h"
#include "Mis/Report.h"
#include "Mis/Unix/Dsk.h"
#include "Mis/Unix/FileAccess.h"
#include "Mis/Unix/FileStatus.h"
#include "Mis/Unix/OutputFile.h"
#include "Mis/Unix/Synchronise.h"
#include "Mis/Unix/SysClientUnix.h"
#include "PlugSetter/Guard.h"

#include <cerrno>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr mode_t ownerOnly = 0600;

/// Closes an earlier copy to everybody but its owner. A stranger's is refused: he may have it open already. Returns:
/// false, with errno, when it is refused or cannot be closed.
bool CloseToOthers(const OutputFile& copy, const FileStatus& source) {
    const uid_t owner = copy.status.Owner();
    if (owner != 0 && owner != geteuid() && owner != source.Owner()) {
        errno = EPERM;
        return false;
    }
    return fchmod(copy.file.Number(), ownerOnly) == 0;
}

/// Opens the place of a copy and empties it. A regular file without further hard links is first closed to everybody but
/// its owner. Returns: a file that is not open on failure; errno tells why.
OutputFile OpenEmpty(const std::string& copy, const FileStatus& source) {
    OutputFile output = sys_openOutput(copy, O_RDWR, ownerOnly);
    const int file = output.file.Number();
    if (output.status.IsSameAs(source)) {
        errno = EEXIST;
        return {};
    }
    if (!output.created && output.status.HasOneName() && !CloseToOthers(output, source)) {
        return {};
    }
    if (output.status.IsRegular() && ftruncate(file, 0) != 0) {
        return {};
    }
    return output;
}

/// Removes an earlier copy that OpenEmpty has just refused for its mode or its owner; errno still says so. Returns:
/// true when it was removed.
bool RemoveClosed(const std::string& copy, const FileStatus& source) {
    const bool isClosed = errno == EACCES || errno == EPERM;
    const FileStatus entry = FileStatus::OfEntry(copy);
    return isClosed && entry.HasOneName() && !entry.IsSameAs(source) && sys_remove(copy.c_str());
}

Descriptor OpenCopy(const std::string& copy, int source, const FileStatus& status) {
    OutputFile output = OpenEmpty(copy, status);
    if (!output.file.IsOpen() && RemoveClosed(copy, status)) {
        output = OpenEmpty(copy, status);
    }
    if (output.status.HasOneName()) {
        sys_giveAccess(output.file.Number(), output.status, sys_accessOf(source, status));
    }
    return std::move(output.file);
}

void CopyBytes(VBinaryStream& source, VBinaryStream& destination) {
    unsigned char buffer[4096];
    unsigned count = 0;
    do {
        count = source.ReadRawData(buffer, sizeof buffer);
        destination.WriteRawData(buffer, count);
    } while (count > 0);
}

/// The directories that get a new entry when a file is created in `directory`: that one and, while it is missing, the
/// one above, up to the first that exists.
std::vector<std::string> DirectoriesToChange(const std::string& directory) {
    std::vector<std::string> directories = {directory};
    while (FileStatus::Of(directories.back()).GetPresence() == Presence::missing) {
        std::string above = directories.back();
        above.erase(above.find_last_not_of('/') + 1);
        above = sys_directoryOf(above);
        if (above == directories.back()) {
            break;
        }
        directories.push_back(above);
    }
    return directories;
}

bool IsOnDisk(const std::vector<std::string>& directories) {
    for (const std::string& directory : directories) {
        if (!sys_synchroniseDirectory(directory)) {
            return false;
        }
    }
    return true;
}

/// True when the copy is as long as its source. Only regular files have a size; accept whatever could be read of
/// anything else.
bool IsComplete(const VBinaryStream& source, const std::string& copy) {
    const FileStatus from = FileStatus::Of(source.GetDescriptor());
    const FileStatus to = FileStatus::Of(copy);
    if (!from.IsPresent() || !to.IsPresent()) {
        return false;
    }
    return !from.IsRegular() || (!source.HasFailed() && (!to.IsRegular() || to.Size() == from.Size()));
}

} // namespace

void copyFile(const std::string& source, const std::string& destination) try {
    VBinaryStream in;
    in.Open(source.c_str(), VBinaryStream::ReadMode);
    const std::string directory = sys_directoryOf(destination);
    const std::vector<std::string> changed = DirectoriesToChange(directory);
    if (dsk_credir(nullptr, directory.c_str(), 0, nullptr) < 0) {
        err_fail(msgCopyDirectoryNotMade, directory.c_str());
    }
    const FileStatus status = FileStatus::Of(in.GetDescriptor());
    if (!status.IsPresent()) {
        err_fail(msgUnexpected, copyLabel);
    }
    VBinaryStream out;
    out.Open(OpenCopy(destination, in.GetDescriptor(), status), destination.c_str());
    CopyBytes(in, out);
    out.Flush();
    const bool bytesOnDisk = sys_synchronise(out.GetDescriptor());
    out.Close();
    if (!bytesOnDisk || !IsOnDisk(changed) || !IsComplete(in, destination)) {
        err_fail(msgUnexpected, copyLabel);
    }
    in.Close();
} catch (...) {
    throwAsError(copyLabel);
}
