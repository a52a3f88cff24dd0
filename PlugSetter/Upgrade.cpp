#include "PlugSetter/Upgrade.h"

#include "MessageLIB/Message.h"
#include "MessageLIB/MessageIds.h"
#include "Mis/Log.h"
#include "Mis/TaskData.h"
#include "Mis/Unix/FileStatus.h"
#include "Mis/VError.h"
#include "PlugSetter/FileCopy.h"
#include "PlugSetter/Globals.h"
#include "PlugSetter/Guard.h"
#include "PlugSetter/Paths.h"
#include "PlugSetter/Process.h"
#include "Plugins/IPluginsCommon.h"

#include <cstdio>
#include <memory>
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

/// True when the copy would go where the open log is.
bool IsOpenLog(const std::string& copy) {
    return logfp != nullptr && FileStatus::Of(copy).IsSameAs(FileStatus::Of(fileno(logfp)));
}

void SaveCopy(const Paths& paths) {
    if (IsOpenLog(paths.copy)) {
        Fail(msgUnexpected, label);
    }
    copyFile(paths.configuration, paths.copy, VBinaryStream::WriteMode);
    auto entry = std::make_unique<BackupEntry>(
        BackupEntry{VFileName(paths.configuration, -1, false), VFileName(paths.copy, -1, false)});
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

/// A file that cannot be opened for writing stays as it is, which is no failure; one that may be damaged is.
void Save(VTaskData& configuration) {
    holdSignals();
    bakFiles.back()->liveWasOpened = true;
    if (configuration.SaveToFile("") == 0) {
        err_throw(std::make_unique<VI18NError>(modBinaryStream, msgFlushFailed, configuration.GetTaskName().c_str()));
    }
}

} // namespace

void upgrade() try {
    const Paths paths = runPaths();
    switch (FileStatus::Of(paths.configuration).GetPresence()) {
    case Presence::missing: return;
    case Presence::unknown: Fail(msgUnexpected, label);
    case Presence::present: break;
    }
    SaveCopy(paths);
    VTaskData configuration(paths.configuration, true);
    Load(configuration);
    Edit(configuration);
    Save(configuration);
    I18NMessage::Message::LogMsg(msgConfigurationSaved, msg_mod2str(modUtility), I18NMessage::SeverityInformational,
                                 csl::Files::GLOBAL);
} catch (...) {
    throwAsError(label);
}
