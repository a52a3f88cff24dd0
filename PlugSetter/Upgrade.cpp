#include "PlugSetter/Upgrade.h"

#include "Mis/LogAccess.h"
#include "Mis/Report.h"
#include "Mis/TaskData.h"
#include "Mis/TaskKeys.h"
#include "Mis/Unix/WholeFile.h"
#include "PlugSetter/Globals.h"
#include "PlugSetter/Guard.h"
#include "PlugSetter/Paths.h"
#include "PlugSetter/SavedFile.h"
#include "Plugins/IPluginsCommon.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr const char* generatedHeader = "// Automatically Generated File\r\n"
                                        "// *** Do NOT manually edit this file ***\r\n"
                                        "//\r\n"
                                        "//\r\n"
                                        "// Tarnix, Inc.\r\n"
                                        "//\r\n"
                                        "// Global Configuration File\r\n"
                                        "// -----------------------------------\r\n"
                                        "\r\n";

/// Copies the file and notes the copy in bakFiles.
void SaveCopy(std::shared_ptr<SavedFile> file, const Paths& paths) {
    file->CopyTo(paths.copy, installationLock);
    auto entry = std::make_unique<BackupEntry>(
        BackupEntry{VFileName(paths.configuration, -1, false), VFileName(paths.copy, -1, false), std::move(file)});
    bakFiles.push_back(entry.get());
    static_cast<void>(entry.release());
}

void Load(const SavedFile& file, VTaskData& configuration) {
    FileContent content;
    const SavedFile::Reading reading = file.Read(largestTaskFile, content);
    if (reading == SavedFile::Reading::changed) {
        err_fail(msgUnexpected, changeLabel);
    }
    if (reading == SavedFile::Reading::failed || configuration.LoadText(content.Text(), false, "", true) < 1) {
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

/// A file that must not be written stays as it is, which is no failure.
void Save(SavedFile& file, VTaskData& configuration) {
    std::string text;
    configuration.Serialize(text);
    switch (file.Write(std::move(text))) {
    case SavedFile::Writing::done:
    case SavedFile::Writing::refused: return;
    case SavedFile::Writing::changed: err_fail(msgUnexpected, changeLabel);
    case SavedFile::Writing::failed: err_fail(msgNotWritten, configuration.GetTaskName().c_str());
    }
}

} // namespace

void upgrade() try {
    const Paths paths = runPaths();
    const auto file = std::make_shared<SavedFile>(paths.configuration);
    switch (file->Open()) {
    case Presence::missing: return;
    case Presence::unknown: err_fail(msgUnexpected, changeLabel);
    case Presence::present: break;
    }
    // A record may repeat a line of the file, and the log was opened for those who could read the file by then.
    if (g_logAccess && *g_logAccess != file->Access()) {
        err_fail(msgUnexpected, changeLabel);
    }
    SaveCopy(file, paths);
    VTaskData configuration(paths.configuration, true);
    Load(*file, configuration);
    Edit(configuration);
    Save(*file, configuration);
    msg_log(msgConfigurationSaved, csl::Files::GLOBAL);
} catch (...) {
    throwAsError(changeLabel);
}
