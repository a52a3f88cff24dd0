#include "Plugins/IPluginsCommon.h"

#include "Plugins/Unix/IPlugins.h"

#include <cassert>
#include <cstring>

namespace Plugins {

// ORDER PluginCode_
// clang-format off
const char* const plugin_names[UNDEFINED + 1] = {
    "EXCH",
    "EXCHMAPI",
    "SQLSERVER_70",
    "ORACLE",
    "ORACLE_RMAN",
    "OTM",
    "VAULT",
    "CLUSTER",
    "SMS",
    "VMWARE",
    "SS",
    "SHAREPOINT",
    "SV",
    "EXCHANGE_VSS",
    "DPM",
    "",
};

const char* const plugin_description[UNDEFINED + 1] = {
    "Exchange DR",
    "Exchange MAPI",
    "MS SQL Server backup and recovery",
    "Oracle backup and recovery",
    "Oracle RMAN backup and recovery",
    "OTM",
    "Vault backup",
    "Cluster virtual servers",
    "Novell SMS",
    "VMware ESX Console",
    "System State",
    "SharePoint",
    "System Volume",
    "Exchange DR (VSS)",
    "DPM Server",
    "",
};

const char* const mod_strs[UNDEFINED + 1] = {
    "EXDB", "EXMA", "MSQL", "ORCL", "RMAN", "OTM ", "VBA ", "CLUS",
    "SMS ", "VMWR", "SS  ", "SPP ", "SV  ", "EXVS", "DPM ", "",
};

const int log_codes[UNDEFINED + 1] = {
    200, 201, 202, 203, 204, 205, 206, 207,
    208, 209, 210, 211, 212, 213, 214, 0,
};

const char* const dll_names[UNDEFINED + 1] = {
    "",
    "",
    "",
    "oracle.so",
    "orarman.so",
    "",
    "",
    "",
    "smsPlugin.so",
    "vmwarePlugin.so",
    "",
    "",
    "",
    "",
    "",
    nullptr,
};
// clang-format on

const char* const oracle_8i_solaris_name = "ORACLE_8I_SOLARIS";
const char* const oracle_8i_solaris_dll = "oracle8i.so";

} // namespace Plugins

namespace {

constexpr int firstModule = 200;

/// The first row with this name in any letter case, Plugins::UNDEFINED when there is none.
Plugins::PluginCode_ FindRow(const char* name) {
    for (int row = 0; row < Plugins::UNDEFINED; ++row) {
        if (qx_stricmp(name, Plugins::plugin_names[row]) == 0) {
            return static_cast<Plugins::PluginCode_>(row);
        }
    }
    return Plugins::UNDEFINED;
}

bool IsAlias(const char* name) {
    return qx_stricmp(name, Plugins::oracle_8i_solaris_name) == 0;
}

} // namespace

Plugins::PluginCode_ string2code(const VString& name) {
    if (std::strcmp(name, Plugins::oracle_8i_solaris_name) == 0) {
        return Plugins::ORACLE_8I_SOLARIS;
    }
    return FindRow(name);
}

Plugins::PluginCode_ string2code(const std::string& name) {
    return string2code(name.c_str());
}

Plugins::PluginCode_ string2code(const char* name) {
    return string2code(VString(name));
}

VString string2pluginName(const VString& name) {
    const Plugins::PluginCode_ row = IsAlias(name) ? Plugins::ORACLE_8I_SOLARIS : FindRow(name);
    return Plugins::plugin_description[row];
}

VString string2pluginName(const std::string& name) {
    return string2pluginName(name.c_str());
}

VString string2pluginName(const char* name) {
    return string2pluginName(VString(name));
}

VString string2dllName(const VString& name) {
    if (IsAlias(name)) {
        return Plugins::oracle_8i_solaris_dll;
    }
    return Plugins::dll_names[FindRow(name)];
}

VString string2dllName(const std::string& name) {
    return string2dllName(name.c_str());
}

VString string2dllName(const char* name) {
    return string2dllName(VString(name));
}

IPlugins* IPlugins::instance() {
    static IPlugins plugins;
    return &plugins;
}

const char* IPlugins::mod2str(int mod) {
    using Plugins::UNDEFINED;
    assert(mod >= 200 && mod < 200 + UNDEFINED);
    return Plugins::mod_strs[mod - firstModule];
}

void IPlugins::setPluginsString(const std::string& /*plugins*/) {}

void IPlugins::loadAllPlugins() {}
