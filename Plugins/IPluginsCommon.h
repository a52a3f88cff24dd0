#pragma once

#include "Mis/VString.h"

#include <string>

/// The plug-ins that the agent knows, in parallel tables indexed by Plugins::PluginCode_. Lookups search the rows
/// before the last, UNDEFINED, which stands for "unknown".
namespace Plugins {

// ORDER PluginCode_
enum PluginCode_ {
    EXCH = 0,
    EXCHMAPI = 1,
    SQLSERVER_70 = 2,
    ORACLE = 3,
    ORACLE_8I_SOLARIS = ORACLE, ///< an alias with a library of its own
    ORACLE_RMAN = 4,
    OTM = 5,
    VAULT = 6,
    CLUSTER = 7,
    SMS = 8,
    VMWARE = 9,
    SS = 10,
    SHAREPOINT = 11,
    SV = 12,
    EXCHANGE_VSS = 13,
    DPM = 14,
    UNDEFINED = 15,
};

extern const char* const plugin_names[UNDEFINED + 1];
extern const char* const plugin_description[UNDEFINED + 1];
extern const char* const mod_strs[UNDEFINED + 1];  ///< texts of their message modules, four characters each
extern const int log_codes[UNDEFINED + 1];         ///< numbers of their message modules
extern const char* const dll_names[UNDEFINED + 1]; ///< file names of their libraries, empty for none; the last is null
extern const char* const oracle_8i_solaris_name;
extern const char* const oracle_8i_solaris_dll;

} // namespace Plugins

/// The code of a plug-in by its name in any letter case, UNDEFINED for an unknown name. The alias is known only in
/// upper case here; the lookups below know it in any.
Plugins::PluginCode_ string2code(const VString& name);
Plugins::PluginCode_ string2code(const std::string& name);
Plugins::PluginCode_ string2code(const char* name);

/// The description of a plug-in by its name in any letter case; empty for an unknown name.
VString string2pluginName(const VString& name);
VString string2pluginName(const std::string& name);
VString string2pluginName(const char* name);

/// The file name of a plug-in's library by its name in any letter case; empty when there is none.
VString string2dllName(const VString& name);
VString string2dllName(const std::string& name);
VString string2dllName(const char* name);
