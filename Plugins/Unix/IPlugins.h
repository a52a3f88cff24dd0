#pragma once

#include <string>

/// The registry of the plug-ins of this process.
class IPlugins {
public:
    /// The one registry.
    static IPlugins* instance();

    /// The text, four characters, of a plug-in's message module. REQUIRES: `mod` is in Plugins::log_codes before the
    /// last row.
    const char* mod2str(int mod);

    /// The first is called with the list of plug-ins in a configuration file, the second after that. Both do nothing: a
    /// configuration file never makes this program load code. VTaskData::extensionLoaded tells that they were called.
    void setPluginsString(const std::string& plugins);
    void loadAllPlugins();
};
