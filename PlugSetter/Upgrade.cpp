#include "PlugSetter/Upgrade.h"

#include "MessageLIB/Message.h"
#include "MessageLIB/MessageIds.h"
#include "Mis/Log.h"
#include "Mis/TaskData.h"
#include "Mis/Unix/UtilitiesUnix.h"
#include "Mis/VError.h"
#include "PlugSetter/Backup.h"
#include "PlugSetter/Globals.h"
#include "PlugSetter/Guard.h"
#include "Plugins/IPluginsCommon.h"

#include <cstdint>
#include <string>

namespace {

constexpr const char* label = "upgrade() ";

constexpr const char* generatedHeader = "// Automatically Generated File\r\n"
                                        "// *** Do NOT manually edit this file ***\r\n"
                                        "//\r\n"
                                        "//\r\n"
                                        "// Tarnix, Inc.\r\n"
                                        "//\r\n"
                                        "// Global Configuration File\r\n"
                                        "// -----------------------------------\r\n"
                                        "\r\n";

constexpr int fileVersion = 671;
constexpr int keyVersion = 15;

/// The keys of slot 0; those of the others are higher by the slot's number.
enum SlotKey {
    keyPluginFirst = 13100,
    keyPluginCode = 13110,
    keyPluginName = 13120,
    keyPluginBinary = 13180,
    keyPluginLast = 13200,
    keyPluginStep = 10,
};

constexpr int slotCount = 10;
constexpr int noSlot = -1;

[[noreturn]] void Fail(int number, const char* parameter) {
    err_throw(std::make_unique<VI18NError>(modUtility, number, parameter));
}

/// What the slots hold of the plug-in.
struct Slots {
    int firstFree = noSlot;
    bool holdPlugin = false;
};

/// Whatever is no regular file has no size to compare.
bool IsCompleteCopy(const std::string& file, const std::string& copy) {
    std::uint64_t size = 0;
    std::uint64_t copied = 0;
    if (!sys_regularFileSize(file.c_str(), size)) {
        return doesFileExist(file.c_str());
    }
    return sys_regularFileSize(copy.c_str(), copied) && copied == size;
}

bool IsRunLog(const std::string& path) {
    return g_logopt.block != nullptr && sys_isSameFile(path.c_str(), g_logopt.block->path);
}

void SaveCopy(const std::string& path) {
    const std::string copy = backupDir + csl::Files::GLOBAL;
    if (IsRunLog(copy) || !saveFile(installationDir, csl::Files::GLOBAL, backupDir, "", false) ||
        !IsCompleteCopy(path, copy)) {
        Fail(msgUnexpected, label);
    }
    auto entry = std::unique_ptr<BackupEntry>(new BackupEntry{VFileName(path, -1, false), VFileName(copy, -1, false)});
    bakFiles.push_back(entry.get());
    static_cast<void>(entry.release());
}

void Load(VTaskData& configuration) {
    if (configuration.LoadFromFile("", false, "", true) < 1) {
        Fail(msgCannotLoad, configuration.GetTaskName().c_str());
    }
    if (configuration.SetComment(VString(generatedHeader)) <= 0) {
        Fail(msgCannotSetCode, csl::Files::GLOBAL);
    }
    configuration.SetVersion(fileVersion);
}

void ClearSlot(VTaskData& configuration, int slot) {
    for (int key = keyPluginFirst; key <= keyPluginLast; key += keyPluginStep) {
        configuration.DeleteKey(key + slot);
    }
}

/// Looks at all slots, the later ones too, since a name may stand in several; clears those when unregistering.
Slots ScanSlots(VTaskData& configuration) {
    Slots slots;
    for (int slot = 0; slot < slotCount; ++slot) {
        std::string code;
        configuration.GetString(keyPluginCode + slot, &code);
        if (*code.c_str() == '\0') {
            slots.firstFree = slots.firstFree == noSlot ? slot : slots.firstFree;
        } else if (qx_stricmp(code.c_str(), plugName.c_str()) == 0) {
            slots.holdPlugin = true;
            if (regType == unregisterPlugin) {
                ClearSlot(configuration, slot);
            }
        }
    }
    return slots;
}

void FillSlot(VTaskData& configuration, int slot) {
    const VString name(plugName.c_str());
    const VString library = string2dllName(name);
    if (configuration.SetString(keyPluginCode + slot, plugName, true) <= 0) {
        Fail(msgCannotSetCode, csl::Files::GLOBAL);
    }
    if (!library.IsEmpty() && configuration.SetString(keyPluginBinary + slot, library, true) <= 0) {
        Fail(msgCannotSetBinary, csl::Files::GLOBAL);
    }
    if (configuration.SetString(keyPluginName + slot, string2pluginName(name), true) <= 0) {
        Fail(msgCannotSetName, csl::Files::GLOBAL);
    }
}

void Edit(VTaskData& configuration) {
    const Slots slots = ScanSlots(configuration);
    if (regType == registerPlugin && slots.firstFree != noSlot && !slots.holdPlugin) {
        FillSlot(configuration, slots.firstFree);
    }
    configuration.DeleteKey(keyVersion);
}

} // namespace

void upgrade() {
    guarded(label, [] {
        const std::string path = installationDir + csl::Files::GLOBAL;
        if (isMissing(path, label)) {
            return;
        }
        SaveCopy(path);
        VTaskData configuration(path.c_str(), true);
        Load(configuration);
        Edit(configuration);
        configuration.SaveToFile("");
        I18NMessage::Message::LogMsg(msgConfigurationSaved, msg_mod2str(modUtility), I18NMessage::SeverityInformational,
                                     csl::Files::GLOBAL);
    });
}
