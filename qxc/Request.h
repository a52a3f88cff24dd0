#pragma once

#include <string>
#include <vector>

/// The exit statuses of the program, from good to bad.
enum Answer {
    answerYes = 0,
    answerNo = 1,
    answerUnknown = 2, ///< it cannot be told: a file that cannot be read, wrong arguments
};

/// What a command is asked for.
struct Request {
    std::vector<std::string> operands; ///< as many as the command takes
    bool json = false;
    bool secrets = false;
};
