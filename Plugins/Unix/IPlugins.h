#pragma once

#include <string>

/// The registry of the plug-ins of this process.
class IPlugins {
public:
    /// The one registry.
    static IPlugins* instance();

    /// The module text of a plug-in's message-module number. REQUIRES: 200 to 214.
    const char* mod2str(int mod);

    /// Takes over the list of plug-ins that a configuration file names, and its end. Nothing is kept or opened: a
    /// configuration file never makes this program load code. VTaskData::extensionLoaded tells that it happened.
    void setPluginsString(const std::string& plugins);
    void loadAllPlugins();
};
