#pragma once

#include "tests/support/TempDir.h"

#include <ostream>
#include <string>

/// What a run starts from.
struct Case {
    /// What stands in the place of the copy, or how the directories are given.
    enum Place { plain, relative, link, fifo };

    const char* name;
    std::string option;
    std::string plugin;
    std::string live;
    std::string edited;      ///< the new bytes; empty for a run that must fail
    std::string earlierCopy; ///< empty for none
    Place place = plain;
    const char* failing = ""; ///< a call of the save that fails, so that the file is put back

    friend std::ostream& operator<<(std::ostream& out, const Case& run) { return out << run.name; }
};

inline const std::string original = ReadFile(TEST_DATA "/global/Global.qxc");
inline const std::string registered = ReadFile(TEST_DATA "/global/Global.registered.qxc");
inline const std::string unregistered = ReadFile(TEST_DATA "/global/Global.unregistered.qxc");

/// A run breaks the line, which takes a page.
inline std::string WithLongLine(std::string text, std::size_t length) {
    const std::string key = "Description = ";
    return text.insert(text.find(key) + key.size(), length, 'x');
}

/// A run puts the comment at the top back, which takes a second page.
inline const Case growth = {"Growth",   "-r", "ORACLE", registered.substr(registered.find("BuildVersion")),
                            registered, ""};
inline const Case registration = {"Register", "-r", "ORACLE", original, registered, ""};
inline const Case unregistration = {"Unregister", "-u",         "ORACLE_RMAN",
                                    original,     unregistered, std::string(2 * original.size(), '#')};
inline const Case failedSave = {"FailedSave", "-u",          "ORACLE_RMAN", original,
                                unregistered, std::string(), Case::plain,   "ftruncate64"};
inline const Case refusal = {"RolledBack", "-r", "ORACLE", original + "no key\r\n", "", std::string(999, '#')};
