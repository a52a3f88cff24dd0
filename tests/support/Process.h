#pragma once

#include <string>
#include <vector>

/// How a program ended and what it wrote to standard output and standard error.
struct Outcome {
    int status = -1; ///< exit status, -1 when a signal ended it
    int signal = 0;
    std::string output;
    std::string errors;
};

/// Runs a program to its end. `environment` holds further "NAME=value" texts. A run of over a minute is ended by
/// SIGALRM.
Outcome RunProgram(const std::vector<std::string>& command, const std::vector<std::string>& environment = {});

/// Runs the tool with these arguments.
Outcome RunTool(std::vector<std::string> arguments, const std::vector<std::string>& environment = {});
