#pragma once

#include "Mis/TaskData.h"
#include "classlib/String.h"

#include <algorithm>
#include <string>

/// True when the value reads back as it was written: neither the value nor a break of its line makes a comment, joint,
/// section or continuation mark.
inline bool Survives(const std::string& name, const std::string& value) {
    constexpr std::size_t width = 78;
    const auto depth = static_cast<std::size_t>(std::count(name.begin(), name.end(), '.'));
    const std::string line = std::string(2 * depth, ' ') + name.substr(name.rfind('.') + 1) + " = " + value;
    bool intact = line.find("//") == line.npos && line.find("\"-\"") == line.npos && !line.ends_with("\"-");
    for (std::size_t end = width; end < line.size(); end += width) {
        intact = intact && line.compare(end - 2, 2, "\"-") != 0 && line.compare(end, line.npos, "-") != 0;
    }
    return intact && !value.ends_with('{') && txccl::string::Crop(value) == value;
}

/// The law of the format: what is written reads back. Two things are exempt: a value that the syntax changes, and
/// entries that are no longer legal because a version or type line came after them.
inline bool RoundTrips(VTaskData& data) {
    std::string written, name, value;
    data.Serialize(written);
    VTaskData again("", true);
    const bool same = again.Deserialize(written, false) && again.Serialize(value) > 0 && value == written;
    int key = 0;
    bool fault = !same && VTaskData::GetKeyID("Type", &key, data.GetVersion(), 1) == 1 &&
                 Survives("BuildVersion", written.substr(15, written.find("\r\n") - 15));
    for (key = 0; key < 100000 && fault; ++key) {
        fault = data.GetRaw(key, &value) == 0 ||
                (VTaskData::GetKeyName(key, name, data.GetVersion(), data.GetType()) == 1 &&
                 data.IsValidEntry(key, value) && Survives(name, value));
    }
    return !fault;
}
