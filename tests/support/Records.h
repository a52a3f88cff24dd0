#pragma once

#include <string>
#include <vector>

/// The records of a run log as short texts, for example "UTIL 7948 E [/opt/agent/Global.qxc]", as an XML parser reads
/// them. A line that is no record with number, component, severity and a time that somebody took comes back as it is,
/// after "?".
std::vector<std::string> Records(const std::string& log);
