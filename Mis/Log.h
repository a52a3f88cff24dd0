#pragma once

#include "Mis/Unix/FileAccess.h"

#include <cstdio>
#include <optional>
#include <string>

/// The run log: the one text file, open at a time, into which everything is reported.
///
/// Open it, log records (they reach it through the global file logger), flush, close. Each file begins with the version
/// record (AGNT 4314, informational). In the plain mode the log is one file. In the numbered mode it is a ring of the
/// files name-1.XLOG to name-4.XLOG, which are reused by size and age. All state belongs to the process and to one
/// thread.

/// One open log file.
struct logblk {
    std::FILE* fp;
    unsigned lines;     ///< lines since the block was made; not counted while each is flushed
    unsigned lastFlush; ///< getTicks() of the last flush that succeeded
    unsigned char flushEveryLine;
    char path[515]; ///< cut to its room
};

/// How lines are written. All zero but for the block in this program.
struct logopt {
    int word;             ///< zero: a line without a block goes to the console
    const char* identity; ///< unless null, lines are cut to 1022 characters
    bool console;         ///< every line goes to the console
    logblk* block;        ///< of g_logopt: made by batutil_LogOpen, valid until batutil_LogClose
};

extern std::FILE* logfp; ///< null when no run log is open
extern std::string lastLogPath;
extern std::string lastLogName;
extern int maxLogFileSize; ///< bytes
extern int nLogFiles;
extern int currLogFileNo; ///< from 0
extern bool bAtLeastOneOpen;
extern logopt g_logopt;
/// Whom the logs that are opened from now on are for: a new log is given this access, one that exists is narrowed to
/// it. Without it the umask decides on new ones.
extern std::optional<FileAccess> g_logAccess;

/// A file of the numbered ring.
struct logfilelist {
    std::string path;
    long long size;     ///< bytes
    long long modified; ///< seconds
    bool exists;
    int index; ///< from 0
};

/// Opens `name` in `dir`: truncated when `mode` is 1, else appended to; the numbered mode always appends, to the file
/// that batutil_GetNextFilename chooses. A log that is still open is left to itself. Returns: false when the file
/// cannot be opened, is a FIFO, or lies behind a link of another user than root and this one; everything is then
/// reported as before.
bool batutil_LogOpen(const char* dir, const char* name, int mode, bool numbered);

/// Closes the log and switches logging off. Harmless when nothing is open.
void batutil_LogClose();
/// Writes out what is buffered.
void batutil_FlushLog();

/// Flushes. A log above maxLogFileSize goes on in the next file of the ring of lastLogPath and lastLogName, unless both
/// are empty or batutil_LogOpen opened it in the plain mode.
void batutil_CheckLogSize();

/// The file of the ring to write next. An old one that is to be reused is deleted.
std::string batutil_GetNextFilename(std::string dir, std::string name);

/// Writes `text` as one line after a time stamp: to the run log, or to standard output when none is open. Returns: 1.
unsigned long gui_show(unsigned long flag, char* text);

/// Writes a complete line as `opt` says. Returns: 1, or 0 when the write failed, which is itself shown once (LOGS 56,
/// error, the log's path).
int I18N_log_show(std::string* text, const logopt* opt, char severity);

/// Writes the 12 characters of the local time in the form "Nov13 02:31 " and a terminator to `buf`. Returns: 12.
int log_gettimestamp(char* buf);

/// Counts the line while g_ErrStart is on, unless its severity is "D" or "S".
void UpdateLogStatistics(char severity);
extern bool g_ErrStart;

/// What UpdateLogStatistics counted.
struct LogStatistics {
    unsigned errors;
    unsigned fatals;
    unsigned informational;
    unsigned warnings;
};
extern LogStatistics g_logStatistics;

/// Flushes the file. REQUIRES: a block. Returns: that of fflush.
int flushLog(logblk* pThis);

/// Flushes after a line if it is due: always with flushEveryLine, else after each of the first 50 lines, and then every
/// 200 lines or 5 seconds. Returns: that of the flush, 0 for none.
unsigned flushExpiredLines(logblk* pThis);

/// The time of day in milliseconds; wraps.
unsigned getTicks();
