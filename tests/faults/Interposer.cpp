// The preload library of the fault tests; Interposer.h says how they work.

#include "tests/faults/Interposer.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include <dlfcn.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/time.h>
#include <sys/utsname.h>
#include <sys/xattr.h>

#define NEXT(function) reinterpret_cast<decltype(&(function))>(dlsym(RTLD_NEXT, #function))

namespace {

Plan* plan = nullptr; ///< null outside of main()

struct File {
    std::FILE* stream;
    std::FILE* inner; ///< the C library's own stream, which lends its descriptor

    int Descriptor() const { return NEXT(fileno)(inner); }
};

File files[8];

void Fill() {
    static const char page[4096] = {};
    const int file = NEXT(open64)(plan->command, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    while (NEXT(write)(file, page, sizeof page) > 0) {
    }
    NEXT(close)(file);
}

void SetPath(Step& step, const char* path) {
    std::strncpy(step.path, path, sizeof step.path - 1);
}

void SetPath(Step& step, int descriptor) {
    char link[32];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
    static_cast<void>(NEXT(readlink)(link, step.path, sizeof step.path - 1));
}

/// Notes the call on a path or a descriptor.
template <class Subject> Step& Note(const char* name, Subject subject, bool writes) {
    static Step none;
    Step& step = plan->stepCount < std::ssize(plan->steps) ? plan->steps[plan->stepCount++] : none;
    step = {};
    step.writes = writes;
    std::strncpy(step.call, name, sizeof step.call - 1);
    SetPath(step, subject);
    return step;
}

/// True for the call that fails besides.
bool FailsBesides(const Step& step) {
    if (*plan->failing == '\0' || std::strcmp(step.call, plan->failing) != 0 ||
        std::strstr(step.path, "agent/Global.qxc") == nullptr) {
        return false;
    }
    *plan->failing = '\0';
    return true;
}

/// Does to a call that is hit what the plan says. Returns: true when it is to fail.
bool Suffer() {
    ++plan->injected;
    switch (plan->effect) {
    case Effect::fail:
    case Effect::half: return true;
    case Effect::signal: kill(getpid(), plan->error); break;
    case Effect::fill: Fill(); break;
    case Effect::command: static_cast<void>(std::system(plan->command)); break;
    }
    return false;
}

/// Counts the call on a path or a descriptor. Returns: true when it is to fail; errno is set.
template <class Subject> bool Hit(Call call, const char* name, Subject subject, bool writes = false) {
    if (plan == nullptr || (call == callMemory && plan->calls != Only(callMemory))) {
        return false;
    }
    const int error = errno;
    Step memory = {};
    Step& step = call == callMemory ? memory : Note(name, subject, writes);
    if ((plan->calls & Only(call)) != 0) {
        step.number = ++plan->reached;
        step.hit = step.number >= plan->first && step.number <= plan->last;
    }
    const bool failsBesides = FailsBesides(step);
    const bool fails = step.hit && Suffer();
    errno = fails ? plan->error : failsBesides ? EIO : error;
    return fails || failsBesides;
}

/// True when the call that was hit just now is the one to be done by half.
bool Halved() {
    return plan->effect == Effect::half && plan->injected == 1;
}

/// What is left of the file, but no more than `size`.
std::size_t Rest(int descriptor, std::size_t size) {
    struct stat64 status = {};
    const off64_t position = NEXT(lseek64)(descriptor, 0, SEEK_CUR);
    NEXT(fstat64)(descriptor, &status);
    return std::min(size, static_cast<std::size_t>(std::max<off64_t>(0, status.st_size - position)));
}

ssize_t ReadSome(int descriptor, void* buffer, std::size_t size) {
    if (Hit(callRead, "read", descriptor)) {
        if (!Halved()) {
            return -1;
        }
        size = Rest(descriptor, size) / 2;
    }
    return NEXT(read)(descriptor, buffer, size);
}

ssize_t WriteSome(int descriptor, const void* buffer, std::size_t size) {
    if (Hit(callWrite, "write", descriptor)) {
        if (!Halved()) {
            return -1;
        }
        size /= 2;
    }
    return NEXT(write)(descriptor, buffer, size);
}

int Reserve(int descriptor, int mode, off64_t offset, off64_t length) {
    const auto next = NEXT(fallocate64);
    if (!Hit(callReserve, "fallocate", descriptor)) {
        return next(descriptor, mode, offset, length);
    }
    if (Halved()) {
        next(descriptor, mode, offset, std::max<off64_t>(1, length / 2));
        errno = plan->error;
    }
    return -1;
}

ssize_t Read(void* cookie, char* buffer, std::size_t size) {
    return ReadSome(static_cast<File*>(cookie)->Descriptor(), buffer, size);
}

/// What is less than `size` sets the stream's error flag, as a failing write does.
ssize_t Write(void* cookie, const char* buffer, std::size_t size) {
    return std::max<ssize_t>(0, WriteSome(static_cast<File*>(cookie)->Descriptor(), buffer, size));
}

int Seek(void* cookie, off64_t* offset, int whence) {
    const int descriptor = static_cast<File*>(cookie)->Descriptor();
    *offset = Hit(callOther, "lseek", descriptor) ? -1 : NEXT(lseek64)(descriptor, *offset, whence);
    return *offset < 0 ? -1 : 0;
}

int Close(void* cookie) {
    File& file = *static_cast<File*>(cookie);
    const bool fails = file.inner != nullptr && Hit(callOther, "close", file.Descriptor());
    const int result = file.inner == nullptr ? 0 : NEXT(fclose)(file.inner);
    file = {};
    return fails ? -1 : result;
}

File* FileOf(const std::FILE* stream) {
    File* const file = std::find_if(files, std::end(files), [&](const File& each) { return each.stream == stream; });
    return file == std::end(files) ? nullptr : file;
}

/// A stream around the one that `open` makes. All memory comes first, lest a file be cut for want of it.
template <class Open> std::FILE* Wrap(const char* mode, Open open) {
    File* const file = FileOf(nullptr);
    file->stream = fopencookie(file, mode, {Read, Write, Seek, Close});
    file->inner = file->stream == nullptr ? nullptr : open();
    if (file->inner == nullptr) {
        file->stream == nullptr ? Close(file) : std::fclose(file->stream);
        return nullptr;
    }
    return file->stream;
}

int Sleep(const timespec& time) {
    plan->slept += time.tv_sec * 1000 + time.tv_nsec / 1000000;
    return 0;
}

bool HitOpening(const char* path, int flags) {
    return Hit(callOpen, "open", path, (flags & (O_WRONLY | O_RDWR)) != 0);
}

mode_t ModeOf(int flags, va_list arguments) {
    return (flags & (O_CREAT | __O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
}

int (*realMain)(int, char**, char**) = nullptr;

int CountedMain(int argc, char** argv, char** environment) {
    unsetenv("LD_PRELOAD");
    plan = MapPlan(getenv("FAULT_PLAN"));
    const int status = realMain(argc, argv, environment);
    plan = nullptr;
    return status;
}

} // namespace

extern "C" {

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl50-cpp)
int __libc_start_main(decltype(realMain) program, int argc, char** argv, void (*init)(), void (*fini)(),
                      void (*loaderFini)(), void* stackEnd) {
    realMain = program;
    return NEXT(__libc_start_main)(CountedMain, argc, argv, init, fini, loaderFini, stackEnd);
}

std::FILE* fopen64(const char* path, const char* mode) {
    return Wrap(mode, [=] {
        const bool writes = std::strpbrk(mode, "wa+") != nullptr;
        return Hit(callOpen, "fopen", path, writes) ? nullptr : NEXT(fopen64)(path, mode);
    });
}

std::FILE* fdopen(int descriptor, const char* mode) noexcept {
    return Wrap(mode, [=] { return Hit(callOther, "fdopen", descriptor) ? nullptr : NEXT(fdopen)(descriptor, mode); });
}

int fileno(std::FILE* stream) noexcept {
    const File* const file = FileOf(stream);
    return file == nullptr ? NEXT(fileno)(stream) : file->Descriptor();
}

int open64(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = ModeOf(flags, arguments);
    va_end(arguments);
    return HitOpening(path, flags) ? -1 : NEXT(open64)(path, flags, mode);
}

int fcntl64(int descriptor, int command, ...) {
    va_list arguments;
    va_start(arguments, command);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    return Hit(callOther, "fcntl", descriptor) ? -1 : NEXT(fcntl64)(descriptor, command, argument);
}

// The names of calls whose sizes the compiler checks.
int __open64_2(const char* path, int flags) {
    return open64(path, flags);
}

ssize_t __read_chk(int descriptor, void* buffer, std::size_t size, std::size_t /*room*/) {
    return ReadSome(descriptor, buffer, size);
}

ssize_t __readlink_chk(const char* path, char* buffer, std::size_t size, std::size_t /*room*/) {
    return readlink(path, buffer, size);
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl50-cpp)

ssize_t read(int descriptor, void* buffer, std::size_t size) {
    return ReadSome(descriptor, buffer, size);
}

ssize_t write(int descriptor, const void* buffer, std::size_t size) {
    return WriteSome(descriptor, buffer, size);
}

int fallocate64(int descriptor, int mode, off64_t offset, off64_t length) {
    return Reserve(descriptor, mode, offset, length);
}

int fsync(int descriptor) {
    return Hit(callSync, "fsync", descriptor) ? -1 : 0;
}

int nanosleep(const timespec* time, timespec* left) {
    return Hit(callOther, "nanosleep", "") ? -1 : plan == nullptr ? NEXT(nanosleep)(time, left) : Sleep(*time);
}

int clock_gettime(clockid_t clock, timespec* now) noexcept {
    const int result = NEXT(clock_gettime)(clock, now);
    now->tv_sec += plan == nullptr ? 0 : plan->slept / 1000;
    return result;
}

int gettimeofday(timeval* now, void* zone) noexcept {
    const int result = Hit(callOther, "gettimeofday", "") ? -1 : NEXT(gettimeofday)(now, zone);
    now->tv_sec += plan == nullptr ? 0 : plan->slept / 1000;
    return result;
}

#define COUNTED(call, failure, result, function, parameters, subject, ...)                                             \
    result function parameters {                                                                                       \
        static const auto next = NEXT(function);                                                                       \
        return Hit(call, #function, subject) ? failure : next(__VA_ARGS__);                                            \
    }

using Path = const char*;
using Times = const timespec*;
using Action = struct sigaction;

// clang-format off
COUNTED(callStat,  -1, int,     stat64,      (Path p, struct stat64* s) noexcept,                   p,  p, s)
COUNTED(callStat,  -1, int,     lstat64,     (Path p, struct stat64* s) noexcept,                   p,  p, s)
COUNTED(callStat,  -1, int,     fstat64,     (int f, struct stat64* s) noexcept,                    f,  f, s)
COUNTED(callStat,  -1, int,     access,      (Path p, int mode) noexcept,                           p,  p, mode)
COUNTED(callStat,  -1, int,     fstatvfs64,  (int f, struct statvfs64* s) noexcept,                 f,  f, s)
COUNTED(callLock,  -1, int,     flock,       (int f, int how) noexcept,                             f,  f, how)
COUNTED(callOther, -1, int,     ftruncate64, (int f, off64_t size) noexcept,                        f,  f, size)
COUNTED(callOther, -1, int,     fchmod,      (int f, mode_t mode) noexcept,                         f,  f, mode)
COUNTED(callOther, -1, int,     fchown,      (int f, uid_t user, gid_t group) noexcept,             f,  f, user, group)
COUNTED(callOther, -1, int,     utimensat,   (int at, Path p, Times times, int flags) noexcept,     p,  at, p, times, flags)
COUNTED(callOther, -1, ssize_t, fgetxattr,   (int f, Path name, void* to, size_t size) noexcept,    f,  f, name, to, size)
COUNTED(callOther, -1, ssize_t, readlink,    (Path p, char* to, size_t size) noexcept,              p,  p, to, size)
COUNTED(callOther, -1, off64_t, lseek64,     (int f, off64_t offset, int from) noexcept,            f,  f, offset, from)
COUNTED(callOther, -1, int,     close,       (int f),                                               f,  f)
COUNTED(callOther, -1, int,     mkdir,       (Path p, mode_t mode) noexcept,                        p,  p, mode)
COUNTED(callOther, -1, int,     remove,      (Path p) noexcept,                                     p,  p)
COUNTED(callOther, -1, int,     unlink,      (Path p) noexcept,                                     p,  p)
COUNTED(callOther, -1, int,     uname,       (utsname* host) noexcept,                              "", host)
COUNTED(callOther, -1, int,     getrlimit64, (__rlimit_resource_t what, rlimit64* limit) noexcept,  "", what, limit)
COUNTED(callOther, -1, int,     sigprocmask, (int how, const sigset_t* to, sigset_t* was) noexcept, "", how, to, was)
COUNTED(callOther, -1, int,     sigaction,   (int which, const Action* to, Action* was) noexcept,   "", which, to, was)
#ifdef FAULTS_OF_MEMORY
COUNTED(callMemory, nullptr, void*, malloc,  (size_t size) noexcept,                                "", size)
#endif
// clang-format on

} // extern "C"
