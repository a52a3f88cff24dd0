#pragma once

/// The exit statuses of the program, from good to bad.
enum Answer {
    answerYes = 0,
    answerNo = 1,
    answerUnknown = 2, ///< it cannot be told: a file that cannot be read, wrong arguments
};
