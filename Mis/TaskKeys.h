#pragma once

/// The keys and versions of task-data files that the code needs by name. The table of all keys is in TaskOptions.h.

/// The first and the last version of the file format. A text counts as the first until it says otherwise, and is
/// refused above the last. PlugSetter writes the last.
inline constexpr int firstFormatVersion = 101;
inline constexpr int lastFormatVersion = 671;

/// A file of more bytes is not loaded.
inline constexpr unsigned long largestTaskFile = 64UL * 1024 * 1024;

enum TaskKey : int {
    keyType = 11,           ///< "Type", a header value
    keyBuildVersion = 12,   ///< "BuildVersion", a header value
    keyFormatVersion = 13,  ///< "QXCVersion", a header value
    keyPlugins = 14,        ///< "Plugins", the list for the plug-in registry
    keyProgramVersion = 15, ///< "Version", which newer programs no longer write
    keyOracleHome = 12150,  ///< "Oracle0.OraHome"

    // The keys of plug-in slot 0. Add the slot's number for another slot.
    keyPluginHeader = 13100,
    keyPluginCode = 13110,
    keyPluginName = 13120,
    keyPluginBinary = 13180,
    keyPluginPath = 13200,
};

inline constexpr int pluginSlotCount = 10;
inline constexpr int pluginKeyStep = 10; ///< from one key of a slot to the next
