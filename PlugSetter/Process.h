#pragma once

/// Settings of the process for a run.

/// Makes a write above the file-size limit, and one to a pipe that nobody reads any more, fail; by default they would
/// end the process. Opens the null device for each of the descriptors 0 to 2 that is closed; otherwise a file of the
/// run could get that number, and printed text with it.
void prepareProcess();

/// Holds back every signal that would end the process, but for those of its own faults, until it ends by itself. Call
/// this before the configuration is first opened for writing: from then on the run must come to its end, even if that
/// is putting the copy back.
void holdSignals();
