#pragma once

#include <string>

/// The registry of the plug-ins of this process.
class IPlugins {
public:
    /// The one registry, made on first use.
    static IPlugins* instance();

    /// The module text of a plug-in's message-module number. REQUIRES: 200 to 214.
    const char* mod2str(int mod);

    /// Hands over the list of plug-ins that a configuration file names.
    void setPluginsString(const std::string& plugins);
    /// Records that the list is complete. Nothing is opened: a configuration file never makes this program load code.
    void loadAllPlugins();

private:
    std::string m_plugins;
    bool m_loaded = false;
};
