#pragma once

#include <string>
#include <vector>

/// Reads a run log with an XML parser. Returns: each record as a short text, such as "UTIL 7948 E
/// [/opt/agent/Global.qxc]". A line that is not a record with number, component, severity and a time of today's clocks
/// is returned as it is, after "?".
std::vector<std::string> Records(const std::string& log);
