#pragma once

/// The keys and versions of task-data files that code speaks of by name; the table of all keys is in TaskOptions.h.

/// The versions of the file format that this program reads. A text starts from the first until it says otherwise; what
/// is written is in the last.
inline constexpr int firstFormatVersion = 101;
inline constexpr int lastFormatVersion = 671;

enum TaskKey : int {
    keyType = 11,           ///< "Type", a header value
    keyBuildVersion = 12,   ///< "BuildVersion", a header value
    keyFormatVersion = 13,  ///< "QXCVersion", a header value
    keyPlugins = 14,        ///< "Plugins", the list that is handed to the plug-in registry
    keyProgramVersion = 15, ///< "Version", which newer programs no longer write
    keyOracleHome = 12150,  ///< "Oracle0.OraHome"

    // The keys of plug-in slot 0; those of the others are higher by the slot's number.
    keyPluginHeader = 13100,
    keyPluginCode = 13110,
    keyPluginName = 13120,
    keyPluginBinary = 13180,
    keyPluginPath = 13200,
};

inline constexpr int pluginSlotCount = 10;
inline constexpr int pluginKeyStep = 10; ///< between two keys of one slot
