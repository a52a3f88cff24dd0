#include "PlugSetter/Backup.h"

#include "MessageLIB/Message.h"
#include "MessageLIB/MessageIds.h"
#include "Mis/BinStrm.h"
#include "Mis/Unix/Dsk.h"
#include "Mis/Unix/SysClientUnix.h"
#include "Mis/Unix/UtilitiesUnix.h"
#include "Mis/VError.h"
#include "PlugSetter/Globals.h"
#include "PlugSetter/Guard.h"
#include "classlib/FilenameHelper.h"

#include <cerrno>

using I18NMessage::Message;

namespace {

constexpr const char* label = "backupFile()";

void CopyBytes(VBinaryStream& source, VBinaryStream& destination) {
    unsigned char buffer[4096];
    unsigned count = 0;
    do {
        count = source.ReadRawData(buffer, sizeof buffer);
        destination.WriteRawData(buffer, count);
    } while (count > 0);
}

void CopyFile(const std::string& source, const std::string& directory, const std::string& destination,
              VBinaryStream::AccessMode mode) {
    VBinaryStream in;
    in.Open(source.c_str(), VBinaryStream::ReadMode);
    if (dsk_credir(nullptr, directory.c_str(), 0, nullptr, nullptr, 0) < 0) {
        err_throw(std::make_unique<VI18NError>(modUtility, msgCannotCreateDirectory, directory.c_str()));
    }
    if (sys_isSameFile(source.c_str(), destination.c_str())) {
        // Opening it would empty the source.
        err_throw(std::make_unique<VI18NError>(modBinaryStream, msgCannotCreate, destination.c_str()));
    }
    VBinaryStream out;
    out.Open(destination.c_str(), mode);
    CopyBytes(in, out);
    out.Close();
    in.Close();
}

void DeleteSource(const std::string& directory, const std::string& fileName) {
    const int result = sys_delete((directory + fileName).c_str());
    if (result < 0) {
        Message::LogMsg(msgSourceNotDeleted, msg_mod2str(modUtility), I18NMessage::SeverityWarning,
                        txccl::FilenameHelper::join(directory, fileName).c_str());
    }
}

/// The directory of a full name, ready to be put before a file name. A file of the root directory has an empty parent.
std::string DirectoryOf(const VFileName& name) {
    const char separator = name.GetPathSeparator();
    std::string directory(name.GetParentPath(false));
    const bool absolute = *static_cast<const char*>(name.GetName()) == separator;
    if (absolute || !directory.empty()) {
        directory += separator;
    }
    return directory;
}

void Restore(BackupEntry& entry) {
    constexpr int fileNamePart = 14;
    const VString fileName = entry.copy.GetPart(fileNamePart, nullptr, false, false, false);
    backupFile(DirectoryOf(entry.copy), std::string(fileName), DirectoryOf(entry.live), "", false);
}

bool RestoreAll() noexcept {
    try {
        for (BackupEntry* entry : bakFiles) {
            Restore(*entry);
        }
        return true;
    } catch (...) {
        err_caught();
        return false;
    }
}

} // namespace

bool isMissing(const std::string& path, const char* caller) {
    if (doesFileExist(path.c_str())) {
        return false;
    }
    if (!sys_meansMissing(errno)) {
        err_throw(std::make_unique<VI18NError>(modUtility, msgUnexpected, caller));
    }
    return true;
}

bool saveFile(const std::string& srcDir, const std::string& fileName, const std::string& dstDir,
              const std::string& dstName, bool deleteSource) {
    bool saved = false;
    guarded(label, [&] {
        const std::string source = srcDir + fileName;
        if (isMissing(source, label)) {
            return;
        }
        if (dstName.empty()) {
            CopyFile(source, dstDir, dstDir + fileName, VBinaryStream::WriteMode);
        } else {
            CopyFile(source, dstDir, dstDir + dstName, VBinaryStream::UpdateMode);
        }
        if (deleteSource) {
            DeleteSource(srcDir, fileName);
        }
        saved = true;
    });
    return saved;
}

void backupFile(std::string srcDir, std::string fileName, std::string dstDir, std::string dstName, bool deleteSource) {
    saveFile(srcDir, fileName, dstDir, dstName, deleteSource);
}

void rollback() {
    const char* module = msg_mod2str(modUtility);
    if (RestoreAll()) {
        Message::LogMsg(msgRolledBack, module, I18NMessage::SeverityInformational);
    } else {
        Message::LogMsg(msgRollbackFailed, module, I18NMessage::SeverityFatal, "", "", "");
    }
}
