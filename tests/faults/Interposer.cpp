#include "tests/faults/Interposer.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <iterator>
#include <utility>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/time.h>
#include <sys/utsname.h>
#include <sys/vfs.h>
#include <sys/xattr.h>
#include <unistd.h>

#define NEXT(function) reinterpret_cast<decltype(&(function))>(dlsym(RTLD_NEXT, #function))

Plan* runPlan = nullptr;

namespace {

using Path = const char*;

/// A name below an open directory.
struct At {
    int directory;
    Path path;
};

void Describe(Step& step, Path path) {
    std::strncpy(step.path, path, sizeof step.path - 1);
    step.byName = true;
}

void Describe(Step& step, int descriptor) {
    char link[32];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
    static_cast<void>(NEXT(readlink)(link, step.path, sizeof step.path - 1));
}

/// Without a name, the call is about the open file itself. No memory is taken, since that would be counted.
void Describe(Step& step, At at) {
    const std::string_view name = at.path == nullptr ? "" : at.path;
    if (at.directory != AT_FDCWD && !name.starts_with('/')) {
        Describe(step, at.directory);
    }
    const std::size_t length = std::strlen(step.path);
    const char* const separator = length > 0 && !name.empty() ? "/" : "";
    std::snprintf(step.path + length, sizeof step.path - length, "%s%s", separator, name.data());
    step.byName = !name.empty();
}

constexpr Call Opening(int flags) {
    return (flags & O_PATH) != 0 ? callStat : (flags & O_ACCMODE) == O_RDONLY ? callOpen : callOpenToWrite;
}

/// Returns: true when the call that is hit is to fail.
bool ApplyEffect() {
    if (runPlan->effect == Effect::act) {
        Plan* const plan = std::exchange(runPlan, nullptr);
        plan->event();
        runPlan = plan;
    }
    return runPlan->effect != Effect::act;
}

/// Notes and counts the call. Returns: true when it is to fail; errno is set.
template <class Subject> bool Hit(Call call, Path name, Subject subject) {
    if (runPlan == nullptr || (call == callMemory && runPlan->calls != Only(callMemory))) {
        return false;
    }
    const int error = errno;
    Plan& plan = *runPlan;
    // The last step is for calls of memory, which are not kept, and for those beyond the room.
    Step& step = plan.steps[plan.stepCount];
    step = {0, false, call, name, false, {}};
    if (call != callMemory && plan.stepCount + 1 < std::size(plan.steps)) {
        Describe(step, subject);
        ++plan.stepCount;
    }
    if ((plan.calls & Only(call)) != 0) {
        step.number = ++plan.reached;
        step.hit = step.number == plan.first || (plan.onwards && plan.WasHit());
    }
    const bool failsBesides = step.call == plan.failing && step.IsLive();
    plan.failing = failsBesides ? "" : plan.failing;
    const bool fails = step.hit && ApplyEffect();
    errno = fails ? plan.error : failsBesides ? EIO : error;
    return fails || failsBesides;
}

/// True when the call that was hit just now is to be done in part.
bool Halved() {
    return runPlan->effect == Effect::less || (runPlan->effect == Effect::half && runPlan->reached == runPlan->first);
}

/// Of a call that was hit.
std::size_t Part(std::size_t size) {
    return runPlan->effect == Effect::less ? std::max<std::size_t>(size / 2, std::min<std::size_t>(size, 1)) : size / 2;
}

int DescriptorOf(void* cookie) {
    return static_cast<int>(reinterpret_cast<std::intptr_t>(cookie));
}

ssize_t Read(void* cookie, char* buffer, std::size_t size) {
    return read(DescriptorOf(cookie), buffer, size);
}

/// Goes on after a short count, as the C library does. Returns: 0, not -1, on failure: that sets the stream's error
/// flag.
ssize_t Write(void* cookie, const char* buffer, std::size_t size) {
    std::size_t written = 0;
    for (ssize_t count = 1; count > 0 && written < size; written += static_cast<std::size_t>(count)) {
        count = std::max<ssize_t>(0, write(DescriptorOf(cookie), buffer + written, size - written));
    }
    return static_cast<ssize_t>(written);
}

int Seek(void* cookie, off64_t* offset, int whence) {
    *offset = lseek64(DescriptorOf(cookie), *offset, whence);
    return *offset < 0 ? -1 : 0;
}

int Close(void* cookie) {
    return close(DescriptorOf(cookie));
}

/// A stream around the descriptor, which is still the caller's if there is no memory.
std::FILE* CountedStream(int descriptor, Path mode) {
    void* const cookie = reinterpret_cast<void*>(std::intptr_t{descriptor}); // NOLINT(performance-no-int-to-ptr)
    std::FILE* const stream = fopencookie(cookie, mode, {Read, Write, Seek, Close});
    if (stream != nullptr) {
        stream->_fileno = descriptor; // for fileno
    }
    return stream;
}

} // namespace

extern "C" {

std::FILE* fopen64(Path path, Path mode) {
    const bool reads = std::strspn(mode, "rtbem") == std::strlen(mode);
    const bool hit = Hit(reads ? callOpen : callOpenToWrite, "fopen64", path);
    std::FILE* const plain = hit ? nullptr : NEXT(fopen64)(path, mode);
    if (runPlan == nullptr || plain == nullptr) {
        return plain;
    }
    const int descriptor = dup(fileno(plain));
    std::fclose(plain);
    return CountedStream(descriptor, mode);
}

std::FILE* fdopen(int descriptor, Path mode) noexcept {
    return runPlan == nullptr                     ? NEXT(fdopen)(descriptor, mode)
           : Hit(callOther, "fdopen", descriptor) ? nullptr
                                                  : CountedStream(descriptor, mode);
}

ssize_t read(int descriptor, void* buffer, std::size_t size) {
    const bool hit = Hit(callRead, "read", descriptor);
    const ssize_t count = hit && !Halved() ? -1 : NEXT(read)(descriptor, buffer, size);
    if (!hit || count < 0) {
        return count;
    }
    const auto part = static_cast<ssize_t>(Part(static_cast<std::size_t>(count)));
    NEXT(lseek64)(descriptor, part - count, SEEK_CUR);
    return part;
}

ssize_t pread64(int descriptor, void* buffer, std::size_t size, off64_t offset) {
    const bool hit = Hit(callRead, "pread64", descriptor);
    return hit && !Halved() ? -1 : NEXT(pread64)(descriptor, buffer, hit ? Part(size) : size, offset);
}

ssize_t write(int descriptor, const void* buffer, std::size_t size) {
    const bool hit = Hit(callWrite, "write", descriptor);
    return hit && !Halved() ? -1 : NEXT(write)(descriptor, buffer, hit ? Part(size) : size);
}

ssize_t pwrite64(int descriptor, const void* buffer, std::size_t size, off64_t offset) {
    const bool hit = Hit(callWrite, "pwrite64", descriptor);
    return hit && !Halved() ? -1 : NEXT(pwrite64)(descriptor, buffer, hit ? Part(size) : size, offset);
}

int fallocate64(int descriptor, int mode, off64_t offset, off64_t length) {
    const bool hit = Hit(callRoom, "fallocate", descriptor);
    const int error = errno;
    const int result = hit && !Halved() ? -1 : NEXT(fallocate64)(descriptor, mode, offset, hit ? length / 2 : length);
    errno = hit ? error : errno;
    return hit ? -1 : result;
}

int fsync(int descriptor) {
    return Hit(callSync, "fsync", descriptor) ? -1 : 0;
}

int nanosleep(const timespec* time, timespec* left) {
    if (runPlan == nullptr) {
        return NEXT(nanosleep)(time, left);
    }
    runPlan->slept += time->tv_sec * 1000 + time->tv_nsec / 1000000;
    return Hit(callOther, "nanosleep", "") ? -1 : 0;
}

int clock_gettime(clockid_t clock, timespec* time) noexcept {
    const int result = NEXT(clock_gettime)(clock, time);
    time->tv_sec += runPlan == nullptr ? 0 : runPlan->slept / 1000;
    return result;
}

#ifdef FAULTS_OF_MEMORY
void* malloc(std::size_t size) noexcept {
    static const auto next = NEXT(malloc);
    return Hit(callMemory, "malloc", "") ? nullptr : next(size);
}
#endif

/// Defines the symbol `function` under another C++ name, since its declaration in the header may differ in what callers
/// do not see: further parameters, exceptions.
#define COUNTED(call, result, function, parameters, subject, ...)                                                      \
    result Own_##function parameters __asm__(#function);                                                               \
    result Own_##function parameters {                                                                                 \
        static const auto next = NEXT(function);                                                                       \
        return Hit(call, #function, subject) ? (result)(-1) : next(__VA_ARGS__);                                       \
    }

// NOLINTBEGIN(bugprone-reserved-identifier,performance-no-int-to-ptr)
int __open64_2(Path, int); // where the compiler checks the flags
int __openat64_2(int, Path, int);

// clang-format off
COUNTED(Opening(flags), int, open64,       (Path p, int flags, mode_t mode),            p,         p, flags, mode)
COUNTED(Opening(flags), int, __open64_2,   (Path p, int flags),                         p,         p, flags)
COUNTED(Opening(flags), int, openat64,     (int f, Path p, int flags, mode_t mode),     (At{f, p}), f, p, flags, mode)
COUNTED(Opening(flags), int, __openat64_2, (int f, Path p, int flags),                  (At{f, p}), f, p, flags)
COUNTED(callStat,  int,     stat64,      (Path p, struct stat64* s),                    p,  p, s)
COUNTED(callStat,  int,     lstat64,     (Path p, struct stat64* s),                    p,  p, s)
COUNTED(callStat,  int,     fstat64,     (int f, struct stat64* s),                     f,  f, s)
COUNTED(callStat,  int,     fstatat64,   (int f, Path p, struct stat64* s, int flags),  (At{f, p}), f, p, s, flags)
COUNTED(callStat,  int,     fstatfs64,   (int f, struct statfs64* s),                   f,  f, s)
COUNTED(callStat,  int,     fstatvfs64,  (int f, struct statvfs64* s),                  f,  f, s)
COUNTED(callLock,  int,     flock,       (int f, int how),                              f,  f, how)
COUNTED(callOther, int,     fcntl64,     (int f, int command, void* argument),          f,  f, command, argument)
COUNTED(callOther, int,     ftruncate64, (int f, off64_t size),                         f,  f, size)
COUNTED(callOther, off64_t, lseek64,     (int f, off64_t offset, int from),             f,  f, offset, from)
COUNTED(callOther, int,     close,       (int f),                                       f,  f)
COUNTED(callOther, int,     fchmod,      (int f, mode_t mode),                          f,  f, mode)
COUNTED(callOther, int,     fchown,      (int f, uid_t user, gid_t group),              f,  f, user, group)
COUNTED(callOther, int,     utimensat,   (int f, Path p, const timespec* t, int flags), (At{f, p}), f, p, t, flags)
COUNTED(callOther, int,     futimens,    (int f, const timespec* t),                    f,  f, t)
COUNTED(callOther, ssize_t, getxattr,    (Path p, Path key, void* to, size_t size),     p,  p, key, to, size)
COUNTED(callOther, ssize_t, fgetxattr,   (int f, Path key, void* to, size_t size),      f,  f, key, to, size)
COUNTED(callOther, int,     fremovexattr, (int f, Path key),                            f,  f, key)
COUNTED(callOther, ssize_t, readlink,    (Path p, char* to, size_t size),               p,  p, to, size)
COUNTED(callOther, ssize_t, readlinkat,  (int f, Path p, char* to, size_t size),        f,  f, p, to, size)
COUNTED(callStat,  int,     access,      (Path p, int mode),                            p,  p, mode)
COUNTED(callOther, int,     mkdir,       (Path p, mode_t mode),                         p,  p, mode)
COUNTED(callOther, int,     remove,      (Path p),                                      p,  p)
COUNTED(callOther, int,     unlink,      (Path p),                                      p,  p)
COUNTED(callOther, int,     unlinkat,    (int f, Path p, int flags),                    (At{f, p}), f, p, flags)
COUNTED(callOther, int,     rename,      (Path from, Path p),                           p,  from, p)
COUNTED(callOther, int,     renameat,    (int from, Path old, int f, Path p),           (At{f, p}), from, old, f, p)
COUNTED(callOther, int,     uname,       (utsname* host),                               "", host)
COUNTED(callOther, int,     getrlimit64, (__rlimit_resource_t what, rlimit64* limit),   "", what, limit)
COUNTED(callOther, int,     sigprocmask, (int how, const sigset_t* s, sigset_t* old),   "", how, s, old)
COUNTED(callOther, sighandler_t, signal, (int number, sighandler_t handler),            "", number, handler)
COUNTED(callOther, int,     gettimeofday, (timeval* now, void* zone),                   "", now, zone)
// clang-format on
// NOLINTEND(bugprone-reserved-identifier,performance-no-int-to-ptr)

} // extern "C"
