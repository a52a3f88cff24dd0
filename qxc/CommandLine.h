#pragma once

#include "qxc/Answer.h"

#include <string>
#include <vector>

/// What a command is asked for.
struct Request {
    std::vector<std::string> operands; ///< as many as the command takes
    bool json = false;
    bool secrets = false;
};

/// Does what the command line asks for. Says on standard error why it cannot be done. Returns: the exit status.
Answer runQxc(int argc, char** argv);
