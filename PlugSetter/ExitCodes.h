#pragma once

/// The exit statuses of the program.
enum ExitCode {
    exitSuccess = 0,
    exitFailure = 1, ///< wrong arguments, another run holds the installation directory, or the change failed
};
