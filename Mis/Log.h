#pragma once

#include <cstdio>
#include <string>

/// The run log: the text file into which everything is reported. One is open at a time.
///
/// Open it, log records (they reach it through the global file logger), flush, close. The first record after a log was
/// opened is that of the version (AGNT 4314, informational), unless the one before was never closed. In the plain mode
/// the log is one file. In the numbered mode it is a ring of the files name-1.XLOG to name-4.XLOG, which are reused by
/// size and age. All state belongs to the process and to one thread.

/// One open log file.
struct logblk {
    std::FILE* fp;
    unsigned lines;     ///< lines written to the block; not counted with flushEveryLine
    unsigned lastFlush; ///< getTicks() of the last flush that succeeded
    unsigned char flushEveryLine;
    char path[515]; ///< cut when it is longer
};

/// How lines are written. The console is gui_show: the run log if one is open, else standard output. In this program
/// only `block` is ever set.
struct logopt {
    int word;             ///< without a block: zero, lines go to the console; else they are dropped
    const char* identity; ///< unless null, lines are cut to 1022 characters
    bool console;         ///< every line goes to the console
    logblk* block;        ///< that of g_logopt is made by batutil_LogOpen and valid until batutil_LogClose
};

extern std::FILE* logfp;        ///< null when no run log is open
extern std::string lastLogPath; ///< directory of the last numbered log; stays set when that is closed
extern std::string lastLogName; ///< its name
extern int maxLogFileSize;      ///< bytes, in the numbered mode
extern int nLogFiles;           ///< files in the ring
extern int currLogFileNo;       ///< the file of the ring chosen last, from 0
extern bool bAtLeastOneOpen;    ///< a log has been opened since the last close
extern logopt g_logopt;

/// A file of the numbered ring.
struct logfilelist {
    std::string path;
    long long size;     ///< bytes
    long long modified; ///< seconds
    bool exists;
    int index; ///< from 0
};

/// Opens `name` in `dir`: truncated when `mode` is 1, else appended to. The numbered mode always appends, to the file
/// that batutil_GetNextFilename chooses. Close a log that is open first; otherwise its stream is never closed.
///
/// A file is truncated if it has one name, belongs to root, to this user or to the owner of g_logAccess (LogAccess.h),
/// and is no wider than that. Any other file is removed and made anew, since others may have it open; one that cannot
/// be removed is narrowed if it has one name and belongs to root or to this user. A device or a pipe is written as it
/// is.
///
/// Returns: false when the file cannot be opened so, is a FIFO, or lies behind a link of another user than root and
/// this one. Records then go where they went before.
bool batutil_LogOpen(const char* dir, const char* name, int mode, bool numbered);

/// Closes the log and switches logging off. Harmless when nothing is open.
void batutil_LogClose();
/// Writes out what is buffered.
void batutil_FlushLog();

/// Flushes. If the log has grown above maxLogFileSize, goes on in the next file of the ring of lastLogPath and
/// lastLogName, but not when both are empty or batutil_LogOpen opened the log in the plain mode.
void batutil_CheckLogSize();

/// Chooses the file of the ring to write next. When all of them exist and the newest is above maxLogFileSize, the
/// chosen one is deleted first. Returns: its full name.
std::string batutil_GetNextFilename(std::string dir, std::string name);

/// Writes a line of a time stamp and `text` to the run log, or to standard output when none is open. Then calls
/// batutil_CheckLogSize. Returns: 1.
unsigned long gui_show(unsigned long flag, char* text);

/// Writes a complete line as `opt` says. When that is null, the line goes to the open run log, or to the console if
/// none is open. Returns: 1, also for a line that goes to the console or is dropped; 0 when the line could not be
/// written to its block, after logging that (LOGS 56, error, the log's path) if fputs has failed. With flushEveryLine,
/// a flush that fails is a line that could not be written; the part of it that got into the file is taken back.
int I18N_log_show(std::string* text, const logopt* opt, char severity);

/// Writes the 12 characters of the local time in the form "Nov13 02:31 " and a terminator to `buf`. Returns: 12.
int log_gettimestamp(char* buf);

/// While g_ErrStart is on, counts a line of severity "E", "F", "I" or "W".
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

/// Flushes the file. REQUIRES: pThis is not null. Returns: what fflush returns.
int flushLog(logblk* pThis);

/// Flushes after a line if it is due: always with flushEveryLine; else after each of the first 50 lines, then every 200
/// lines and when the last flush is over 5 seconds old. Returns: what the flush returns, 0 without one.
unsigned flushExpiredLines(logblk* pThis);

/// The time of the clock in milliseconds. Wraps around.
unsigned getTicks();
