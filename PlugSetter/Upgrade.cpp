#include "PlugSetter/Upgrade.h"

#include "Mis/Log.h"
#include "Mis/Report.h"
#include "Mis/TaskData.h"
#include "Mis/TaskKeys.h"
#include "Mis/Unix/FileStatus.h"
#include "PlugSetter/FileCopy.h"
#include "PlugSetter/Globals.h"
#include "PlugSetter/Guard.h"
#include "PlugSetter/Paths.h"
#include "PlugSetter/Process.h"
#include "Plugins/IPluginsCommon.h"

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <sys/stat.h>

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

/// True when the copy would be written over the open log.
bool IsOpenLog(const std::string& copy) {
    return logfp != nullptr && FileStatus::Of(copy).IsSameAs(FileStatus::Of(fileno(logfp)));
}

void SaveCopy(const Paths& paths) {
    if (IsOpenLog(paths.copy)) {
        err_fail(msgUnexpected, label);
    }
    copyFile(paths.configuration, paths.copy);
    auto entry = std::make_unique<BackupEntry>(
        BackupEntry{VFileName(paths.configuration, -1, false), VFileName(paths.copy, -1, false)});
    bakFiles.push_back(entry.get());
    static_cast<void>(entry.release());
}

void Load(VTaskData& configuration) {
    if (configuration.LoadFromFile("", false, "", true) < 1) {
        err_fail(msgCannotLoad, configuration.GetTaskName().c_str());
    }
    if (configuration.SetComment(VString(generatedHeader)) <= 0) {
        err_fail(msgCannotSetCode, csl::Files::GLOBAL);
    }
    configuration.SetVersion(lastFormatVersion);
}

/// What the slots hold.
struct Slots {
    std::optional<int> firstFree;
    std::vector<int> ofPlugin; ///< all slots with the plug-in's name, which may stand in several
};

Slots LookAtSlots(const VTaskData& configuration) {
    Slots slots;
    for (int slot = 0; slot < pluginSlotCount; ++slot) {
        std::string code;
        configuration.GetString(keyPluginCode + slot, &code);
        if (*code.c_str() == '\0') {
            slots.firstFree = slots.firstFree.value_or(slot);
        } else if (qx_stricmp(code.c_str(), plugName.c_str()) == 0) {
            slots.ofPlugin.push_back(slot);
        }
    }
    return slots;
}

void ClearSlot(VTaskData& configuration, int slot) {
    for (int key = keyPluginHeader; key <= keyPluginPath; key += pluginKeyStep) {
        configuration.DeleteKey(key + slot);
    }
}

void FillSlot(VTaskData& configuration, int slot) {
    const VString name(plugName.c_str());
    const VString library = string2dllName(name);
    if (configuration.SetString(keyPluginCode + slot, plugName, true) <= 0) {
        err_fail(msgCannotSetCode, csl::Files::GLOBAL);
    }
    if (!library.IsEmpty() && configuration.SetString(keyPluginBinary + slot, library, true) <= 0) {
        err_fail(msgCannotSetBinary, csl::Files::GLOBAL);
    }
    if (configuration.SetString(keyPluginName + slot, string2pluginName(name), true) <= 0) {
        err_fail(msgCannotSetName, csl::Files::GLOBAL);
    }
}

void Edit(VTaskData& configuration) {
    const Slots slots = LookAtSlots(configuration);
    if (regType == unregisterPlugin) {
        for (const int slot : slots.ofPlugin) {
            ClearSlot(configuration, slot);
        }
    } else if (slots.firstFree && slots.ofPlugin.empty()) {
        FillSlot(configuration, *slots.firstFree);
    }
    configuration.DeleteKey(keyProgramVersion);
}

/// A file that is made while it lives is readable by its owner only.
class PrivateFiles {
public:
    PrivateFiles() noexcept : m_previous(umask(0077)) {}
    PrivateFiles(const PrivateFiles&) = delete;
    PrivateFiles& operator=(const PrivateFiles&) = delete;
    ~PrivateFiles() { umask(m_previous); }

private:
    mode_t m_previous;
};

/// Fails when there is no room or the file may be damaged. A file that cannot be opened for writing stays as it is,
/// which is no failure.
void Save(VTaskData& configuration) {
    holdSignals();
    bakFiles.back()->liveWasOpened = true;
    // Should the file have vanished, it is made anew, with passwords in it.
    const PrivateFiles isPrivate;
    if (configuration.SaveToFile("") == 0) {
        err_fail(msgNotWritten, configuration.GetTaskName().c_str());
    }
}

} // namespace

void upgrade() try {
    const Paths paths = runPaths();
    switch (FileStatus::Of(paths.configuration).GetPresence()) {
    case Presence::missing: return;
    case Presence::unknown: err_fail(msgUnexpected, label);
    case Presence::present: break;
    }
    SaveCopy(paths);
    VTaskData configuration(paths.configuration, true);
    Load(configuration);
    Edit(configuration);
    Save(configuration);
    msg_log(msgConfigurationSaved, csl::Files::GLOBAL);
} catch (...) {
    throwAsError(label);
}
