#pragma once

/// The exit statuses of the program.
enum ExitCode {
    exitSuccess = 0,
    exitFailure = 1, ///< wrong arguments, or the change failed
};
