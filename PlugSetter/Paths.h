#pragma once

#include <string>

/// The files that a run works on.
struct Paths {
    std::string configuration;
    std::string log;
    std::string copyDirectory; ///< ends in the separator
    std::string copy;
};

/// Those that the globals name as they stand. Where the copy goes is settled once backupDir holds the node's name.
Paths runPaths();
