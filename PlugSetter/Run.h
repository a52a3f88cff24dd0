#pragma once

/// One run of the tool: checks the arguments, opens the run log, makes the change under a backup, restores on failure
/// and reports the outcome. Returns: the exit status.
int runPlugSetter(int argc, char** argv);
