#pragma once

/// What a run asks of its process.

/// Makes a file-size limit an error of the write that passes it, where it would end the process, and opens those of the
/// descriptors 0 to 2 that are closed on the null device, so that no file of the run gets their numbers and with it
/// what is printed.
void prepareProcess();

/// Lets SIGTERM, SIGINT, SIGHUP and SIGQUIT wait until the process ends by itself. To be called before the
/// configuration is first opened for writing: from then on the run must come to its end, which may be putting the copy
/// back.
void holdSignals();
