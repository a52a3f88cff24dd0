#pragma once

#include <string>

/// The files that a run works on.
struct Paths {
    std::string configuration;
    std::string log;
    std::string copy;
};

/// The paths by the present values of the globals. That of the copy is final once backupDir holds the node's name.
Paths runPaths();
