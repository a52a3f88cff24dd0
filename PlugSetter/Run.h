#pragma once

/// One run of the tool: checks the arguments, opens the run log, saves a copy, makes the change, restores the copy if
/// that failed, and reports the outcome. Returns: the exit status.
int runPlugSetter(int argc, char** argv);
