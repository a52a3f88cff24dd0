#include "Mis/Log.h"

#include "Mis/Dat.h"
#include "Mis/LogAccess.h"
#include "Mis/Report.h"
#include "Mis/Unix/FileStatus.h"
#include "Mis/Unix/SafeOpen.h"
#include "Mis/Unix/SysClientUnix.h"
#include "Mis/Unix/WholeFile.h"
#include "Mis/Version.h"
#include "classlib/FilenameHelper.h"

#include <algorithm>
#include <cassert>
#include <cctype>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/time.h>
#include <unistd.h>

using I18NMessage::FileLogger;
using I18NMessage::Logger;
using I18NMessage::Message;

std::FILE* logfp = nullptr;
// Made before any other static object and so destroyed after it: a destructor may still log.
[[gnu::init_priority(101)]] std::string lastLogPath;
[[gnu::init_priority(101)]] std::string lastLogName;
int maxLogFileSize = 32768;
int nLogFiles = 4;
int currLogFileNo = 0;
bool bAtLeastOneOpen = false;
logopt g_logopt = {};
std::optional<FileAccess> g_logAccess;
bool g_ErrStart = false;
LogStatistics g_logStatistics = {};

namespace {

constexpr int modeTruncate = 1;

/// The log that batutil_LogOpen opened in the plain mode. lastLogPath and lastLogName stay set after a numbered log is
/// closed, so they cannot say whether the open log is numbered.
std::FILE* plainLog = nullptr;

/// All blocks since the last close, since a copy of g_logopt may point to any of them. A plain pointer, so that they
/// outlive static objects whose destructors still report.
std::vector<std::unique_ptr<logblk>>* blocks = nullptr;

void AddBlock(std::unique_ptr<logblk> block) {
    if (blocks == nullptr) {
        blocks = new std::vector<std::unique_ptr<logblk>>;
    }
    blocks->push_back(std::move(block));
    g_logopt.block = blocks->back().get();
}

void FreeBlocks() noexcept {
    g_logopt.block = nullptr;
    delete std::exchange(blocks, nullptr);
}

OpenedFile OpenLog(const std::string& path, int flags) {
    OpenedFile log = sys_openOutput(path, flags, g_logAccess ? 0600 : 0666);
    constexpr mode_t forOwner = 0600;
    const mode_t mode = log.status.Permissions();
    if (log.created && g_logAccess) {
        sys_giveAccess(log.Number(), log.status, sys_underUmask(*g_logAccess));
    } else if (log.created && (mode & forOwner) != forOwner) {
        // The owner reads and writes the log, whatever the umask.
        sys_giveAccess(log.Number(), log.status, {log.status.Owner(), log.status.Group(), mode | forOwner});
    }
    return log;
}

/// True when nobody else can have the log open, or another name for it, who may not read it.
bool IsFit(const OpenedFile& log) {
    return log.status.HasOneName() && sys_isAsClose(log.Number(), log.status, g_logAccess);
}

bool Remove(const OpenedFile& log) {
    return !log.path.empty() && FileStatus::OfEntry(log.path).IsSameAs(log.status) && sys_remove(log.path.c_str());
}

/// Opens a log that is to begin anew. A file that is not fit for it is removed and made anew; one that cannot be
/// removed is narrowed if it belongs to root or to this user.
OpenedFile OpenEmpty(const std::string& path) {
    OpenedFile log = OpenLog(path, O_WRONLY);
    if (log.created || !log.status.IsRegular()) {
        return log;
    }
    if (!IsFit(log)) {
        if (Remove(log)) {
            OpenedFile anew = OpenLog(log.path, O_WRONLY);
            return anew.created ? std::move(anew) : OpenedFile();
        }
        const bool isOurs = log.status.HasOneName() && log.status.BelongsHere();
        if (!isOurs || (g_logAccess && !sys_narrowAccess(log.Number(), log.status, *g_logAccess))) {
            return {};
        }
    }
    return sys_setSize(log.Number(), 0) ? std::move(log) : OpenedFile();
}

/// Returns: null when the file cannot be opened.
std::FILE* OpenFile(const std::string& path, bool truncate) {
    OpenedFile log = truncate ? OpenEmpty(path) : OpenLog(path, O_RDWR | O_APPEND);
    std::FILE* const file = log.IsOpen() ? fdopen(log.Number(), truncate ? "w" : "a+") : nullptr;
    if (file != nullptr) {
        log.file.Release();
    }
    return file;
}

std::unique_ptr<logblk> OpenBlock(const std::string& path, bool truncate) {
    auto block = std::make_unique<logblk>();
    block->flushEveryLine = 1;
    block->path[path.copy(block->path, sizeof block->path - 1)] = '\0';
    block->fp = OpenFile(path, truncate);
    return block->fp == nullptr ? nullptr : std::move(block);
}

std::string ChooseNumbered(const std::string& dir, const std::string& name) {
    lastLogPath = dir;
    lastLogName = name;
    return batutil_GetNextFilename(dir, name);
}

void ReportHere() {
    FileLogger* logger = FileLogger::GetGlobalLogger();
    logger->AttachLogFile(&g_logopt);
    Message::s_defaultLogger = logger;
    Logger::s_loggingEnabled = true;
}

void LogVersion() {
    const std::string build = std::string(programVersion) + " " + buildStamp;
    msg_log(msgVersion, build.c_str());
}

/// Active while a failed write is being reported: a failure of that report is not reported in turn.
class ReportingFailure {
public:
    ReportingFailure() noexcept { s_active = true; }
    ReportingFailure(const ReportingFailure&) = delete;
    ReportingFailure& operator=(const ReportingFailure&) = delete;
    ~ReportingFailure() { s_active = false; }
    static bool IsActive() noexcept { return s_active; }

private:
    static bool s_active;
};

bool ReportingFailure::s_active = false;

void ShowWriteFailure(const logblk& block) {
    if (ReportingFailure::IsActive()) {
        return;
    }
    const ReportingFailure reporting;
    err_make(msgLogWriteFailed, block.path)->LogShow();
}

/// The length of the beginning of `line` with which `tail`, the end of a log, ends. Before it must be a line end.
std::size_t HalfLine(std::string_view tail, bool isWholeLog, std::string_view line) {
    for (std::size_t length = std::min(tail.size(), line.size() - 1); length > 0; --length) {
        const std::size_t before = tail.size() - length;
        const bool beginsLine = before == 0 ? isWholeLog : tail[before - 1] == '\n';
        if (beginsLine && tail.substr(before) == line.substr(0, length)) {
            return length;
        }
    }
    return 0;
}

/// The last bytes of an open file.
std::string LastBytes(int file, off_t end, std::size_t count) {
    std::string bytes(std::min(count, static_cast<std::size_t>(end)), '\0');
    const ssize_t size = pread(file, bytes.data(), bytes.size(), end - static_cast<off_t>(bytes.size()));
    return size == static_cast<ssize_t>(bytes.size()) ? bytes : std::string();
}

/// Cuts off the part of a line that got into the file before writing failed, so that the next line does not continue
/// it. Others may write to the log, too. So the part is read back first: it must be the beginning of this very line.
void TakeBack(const std::string& line, const logblk& block) {
    const int log = fileno(block.fp);
    const FileStatus status = FileStatus::Of(log);
    const off_t end = status.Size();
    const OpenedFile reader = sys_openInput(block.path, O_RDONLY | O_NONBLOCK);
    if (line.empty() || !status.IsRegular() || !reader.status.IsSameAs(status) || lseek(log, 0, SEEK_CUR) != end) {
        return;
    }
    const std::string tail = LastBytes(reader.Number(), end, line.size() + 1);
    const auto half = static_cast<off_t>(HalfLine(tail, static_cast<off_t>(tail.size()) == end, line));
    if (half > 0 && sys_setSize(log, end - half)) {
        fseeko(block.fp, end - half, SEEK_SET);
    }
}

int WriteToBlock(const std::string& line, logblk* block) {
    const bool flushesEach = block->flushEveryLine != 0;
    const bool isPut = std::fputs(line.c_str(), block->fp) >= 0;
    const bool isFlushed = flushExpiredLines(block) == 0;
    const bool isWritten = isPut && (isFlushed || !flushesEach);
    if (!isWritten && flushesEach) {
        TakeBack(line, *block);
    }
    if (!isPut) {
        ShowWriteFailure(*block);
    }
    return isWritten ? 1 : 0;
}

/// Flushes a line even where flushExpiredLines would wait.
int WriteAtOnce(const std::string& line, logblk* block) {
    const unsigned char before = std::exchange(block->flushEveryLine, 1);
    const int written = WriteToBlock(line, block);
    block->flushEveryLine = before;
    return written;
}

int WriteToConsole(std::string& line) {
    gui_show(0, line.data());
    return 1;
}

} // namespace

bool batutil_LogOpen(const char* dir, const char* name, int mode, bool numbered) {
    const std::string path = numbered ? ChooseNumbered(dir, name) : txccl::FilenameHelper::join(dir, name);
    const bool truncate = mode == modeTruncate && !numbered;
    auto block = OpenBlock(path, truncate);
    if (block == nullptr) {
        return false;
    }
    logfp = block->fp; // before memory can run out, so that the file is closed in any case
    AddBlock(std::move(block));
    plainLog = numbered ? nullptr : logfp;
    ReportHere();
    if (!bAtLeastOneOpen) {
        LogVersion();
    }
    bAtLeastOneOpen = true;
    return true;
}

void batutil_LogClose() {
    Logger::s_loggingEnabled = false;
    FileLogger::GetGlobalLogger()->DetachLogFile();
    if (logfp != nullptr) {
        std::fclose(logfp);
        logfp = nullptr;
    }
    plainLog = nullptr;
    FreeBlocks();
    bAtLeastOneOpen = false;
}

void batutil_FlushLog() {
    if (logfp != nullptr) {
        std::fflush(logfp);
    }
}

void batutil_CheckLogSize() {
    if (logfp == nullptr) {
        return;
    }
    std::fflush(logfp);
    if (logfp == plainLog || (lastLogPath.empty() && lastLogName.empty())) {
        return;
    }
    if (ftello(logfp) <= maxLogFileSize) {
        return;
    }
    batutil_LogClose();
    batutil_LogOpen(lastLogPath.c_str(), lastLogName.c_str(), modeTruncate, true);
}

unsigned long gui_show(unsigned long /*flag*/, char* text) {
    char stamp[16];
    log_gettimestamp(stamp);
    std::fprintf(logfp != nullptr ? logfp : stdout, "%s%s\n", stamp, text);
    batutil_CheckLogSize();
    return 1;
}

int I18N_log_show(std::string* text, const logopt* opt, char severity) {
    UpdateLogStatistics(severity);
    std::string line = *text;
    if (opt == nullptr) {
        return g_logopt.block == nullptr ? WriteToConsole(line) : WriteAtOnce(line, g_logopt.block);
    }
    constexpr std::size_t longestIdentified = 1022;
    if (opt->identity != nullptr && line.size() > longestIdentified) {
        line.resize(longestIdentified);
    }
    if (opt->console) {
        return WriteToConsole(line);
    }
    if (opt->block != nullptr) {
        return WriteToBlock(line, opt->block);
    }
    return opt->word == 0 ? WriteToConsole(line) : 1;
}

int log_gettimestamp(char* buf) {
    const std::string time = dat_localNow();
    std::string stamp =
        time.substr(3, 3) + time.substr(0, 2) + ' ' + time.substr(12, 2) + ':' + time.substr(15, 2) + ' ';
    for (const std::size_t letter : {1U, 2U}) {
        stamp[letter] = static_cast<char>(std::tolower(static_cast<unsigned char>(stamp[letter])));
    }
    buf[stamp.copy(buf, stamp.size())] = '\0';
    return static_cast<int>(stamp.size());
}

void UpdateLogStatistics(char severity) {
    if (!g_ErrStart) {
        return;
    }
    switch (severity) {
    case 'E': ++g_logStatistics.errors; break;
    case 'F': ++g_logStatistics.fatals; break;
    case 'I': ++g_logStatistics.informational; break;
    case 'W': ++g_logStatistics.warnings; break;
    default: break;
    }
}

int flushLog(logblk* pThis) {
    assert(pThis != nullptr);
    const int result = std::fflush(pThis->fp);
    if (result == 0) {
        pThis->lastFlush = getTicks();
    }
    return result;
}

unsigned flushExpiredLines(logblk* pThis) {
    constexpr unsigned eachFlushed = 50;
    constexpr unsigned longestAge = 5000;
    constexpr unsigned mostLines = 200;
    if (pThis->flushEveryLine == 0) {
        ++pThis->lines;
        const bool expired = getTicks() - pThis->lastFlush > longestAge;
        if (pThis->lines > eachFlushed && !expired && pThis->lines % mostLines != 0) {
            return 0;
        }
    }
    return static_cast<unsigned>(flushLog(pThis));
}

unsigned getTicks() {
    timeval now = {};
    gettimeofday(&now, nullptr);
    return static_cast<unsigned>(now.tv_sec) * 1000U + static_cast<unsigned>(now.tv_usec / 1000);
}
