#include "tests/faults/Interposer.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
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

struct File {
    std::FILE* stream;
    std::FILE* inner; ///< the C library's own stream, which lends its descriptor

    int Descriptor() const { return NEXT(fileno)(inner); }
};

File files[8];

/// What a call is about: a path, a descriptor, or a path and whether it is opened for writing.
struct Opening {
    Path path;
    bool writes;
};

void Describe(Step& step, Path path) {
    std::strncpy(step.path, path, sizeof step.path - 1);
}

void Describe(Step& step, int descriptor) {
    char link[32];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
    static_cast<void>(NEXT(readlink)(link, step.path, sizeof step.path - 1));
}

void Describe(Step& step, Opening opening) {
    Describe(step, opening.path);
    step.writes = opening.writes;
}

/// Returns: true when the call that is hit is to fail.
bool ApplyEffect() {
    ++runPlan->injected;
    if (runPlan->effect == Effect::signal) {
        kill(getpid(), runPlan->error);
    } else if (runPlan->effect == Effect::act) {
        Plan* const plan = std::exchange(runPlan, nullptr);
        plan->neighbour();
        runPlan = plan;
    }
    return runPlan->effect == Effect::fail || runPlan->effect == Effect::half;
}

/// True for the call that fails besides.
bool FailsBesides(const Step& step) {
    const bool fails = step.call == runPlan->failing && step.IsLive();
    runPlan->failing = fails ? "" : runPlan->failing;
    return fails;
}

/// Notes and counts the call. Returns: true when it is to fail; errno is set.
template <class Subject> bool Hit(Call call, Path name, Subject subject) {
    if (runPlan == nullptr || (call == callMemory && runPlan->calls != Only(callMemory))) {
        return false;
    }
    const int error = errno;
    static Step beyond;
    const bool hasRoom = runPlan->stepCount < std::ssize(runPlan->steps);
    Step& step = hasRoom ? runPlan->steps[runPlan->stepCount] : beyond;
    step = {0, false, false, name, {}};
    if (call != callMemory) {
        runPlan->stepCount += hasRoom ? 1 : 0;
        Describe(step, subject);
    }
    if ((runPlan->calls & Only(call)) != 0) {
        step.number = ++runPlan->reached;
        step.hit = step.number >= runPlan->first && step.number <= runPlan->last;
    }
    const bool failsBesides = FailsBesides(step);
    const bool fails = step.hit && ApplyEffect();
    errno = fails ? runPlan->error : failsBesides ? EIO : error;
    return fails || failsBesides;
}

/// True when the call that was hit just now is the one to be done by half.
bool Halved() {
    return runPlan->effect == Effect::half && runPlan->injected == 1;
}

/// What is left of the file, but no more than `size`.
std::size_t Rest(int descriptor, std::size_t size) {
    struct stat64 status = {};
    const off64_t position = NEXT(lseek64)(descriptor, 0, SEEK_CUR);
    NEXT(fstat64)(descriptor, &status);
    return std::min(size, static_cast<std::size_t>(std::max<off64_t>(0, status.st_size - position)));
}

ssize_t ReadSome(int descriptor, void* buffer, std::size_t size) {
    const bool hit = Hit(callRead, "read", descriptor);
    return !hit       ? NEXT(read)(descriptor, buffer, size)
           : Halved() ? NEXT(read)(descriptor, buffer, Rest(descriptor, size) / 2)
                      : -1;
}

ssize_t WriteSome(int descriptor, const void* buffer, std::size_t size) {
    const bool hit = Hit(callWrite, "write", descriptor);
    return hit && !Halved() ? -1 : NEXT(write)(descriptor, buffer, hit ? size / 2 : size);
}

ssize_t Read(void* cookie, char* buffer, std::size_t size) {
    return ReadSome(static_cast<File*>(cookie)->Descriptor(), buffer, size);
}

/// Returns: 0, not -1, on failure: a short count sets the stream's error flag.
ssize_t Write(void* cookie, const char* buffer, std::size_t size) {
    return std::max<ssize_t>(0, WriteSome(static_cast<File*>(cookie)->Descriptor(), buffer, size));
}

int Seek(void* cookie, off64_t* offset, int whence) {
    const int descriptor = static_cast<File*>(cookie)->Descriptor();
    *offset = Hit(callOther, "lseek64", descriptor) ? -1 : NEXT(lseek64)(descriptor, *offset, whence);
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
template <class Open> std::FILE* Wrap(Path mode, Open open) {
    if (runPlan == nullptr) {
        return open();
    }
    File* const file = FileOf(nullptr);
    file->stream = fopencookie(file, mode, {Read, Write, Seek, Close});
    file->inner = file->stream == nullptr ? nullptr : open();
    if (file->inner == nullptr) {
        file->stream == nullptr ? Close(file) : std::fclose(file->stream);
        return nullptr;
    }
    return file->stream;
}

} // namespace

extern "C" {

std::FILE* fopen64(Path path, Path mode) {
    return Wrap(mode, [=] {
        const Opening opening = {path, std::strpbrk(mode, "wa+") != nullptr};
        return Hit(callOpen, "fopen64", opening) ? nullptr : NEXT(fopen64)(path, mode);
    });
}

std::FILE* fdopen(int descriptor, Path mode) noexcept {
    return Wrap(mode, [=] { return Hit(callOther, "fdopen", descriptor) ? nullptr : NEXT(fdopen)(descriptor, mode); });
}

int fileno(std::FILE* stream) noexcept {
    const File* const file = FileOf(stream);
    return file == nullptr ? NEXT(fileno)(stream) : file->Descriptor();
}

ssize_t read(int descriptor, void* buffer, std::size_t size) {
    return ReadSome(descriptor, buffer, size);
}

ssize_t write(int descriptor, const void* buffer, std::size_t size) {
    return WriteSome(descriptor, buffer, size);
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

// clang-format off
#define OPENING Opening{p, (flags & (O_WRONLY | O_RDWR)) != 0}
COUNTED(callOpen,  int,     open64,      (Path p, int flags, mode_t mode),              OPENING, p, flags, mode)
COUNTED(callOpen,  int,     __open64_2,  (Path p, int flags),                           OPENING, p, flags)
COUNTED(callStat,  int,     stat64,      (Path p, struct stat64* s),                    p,  p, s)
COUNTED(callStat,  int,     lstat64,     (Path p, struct stat64* s),                    p,  p, s)
COUNTED(callStat,  int,     fstat64,     (int f, struct stat64* s),                     f,  f, s)
COUNTED(callStat,  int,     fstatfs64,   (int f, struct statfs64* s),                   f,  f, s)
COUNTED(callStat,  int,     fstatvfs64,  (int f, struct statvfs64* s),                  f,  f, s)
COUNTED(callLock,  int,     flock,       (int f, int how),                              f,  f, how)
COUNTED(callOther, int,     fcntl64,     (int f, int command, void* argument),          f,  f, command, argument)
COUNTED(callOther, int,     ftruncate64, (int f, off64_t size),                         f,  f, size)
COUNTED(callOther, off64_t, lseek64,     (int f, off64_t offset, int from),             f,  f, offset, from)
COUNTED(callOther, int,     close,       (int f),                                       f,  f)
COUNTED(callOther, int,     fchmod,      (int f, mode_t mode),                          f,  f, mode)
COUNTED(callOther, int,     fchown,      (int f, uid_t user, gid_t group),              f,  f, user, group)
COUNTED(callOther, int,     utimensat,   (int f, Path p, const timespec* t, int flags), p,  f, p, t, flags)
COUNTED(callOther, ssize_t, getxattr,    (Path p, Path key, void* to, size_t size),     p,  p, key, to, size)
COUNTED(callOther, ssize_t, fgetxattr,   (int f, Path key, void* to, size_t size),      f,  f, key, to, size)
COUNTED(callOther, int,     fremovexattr, (int f, Path key),                            f,  f, key)
COUNTED(callOther, ssize_t, readlink,    (Path p, char* to, size_t size),               p,  p, to, size)
COUNTED(callOther, ssize_t, readlinkat,  (int f, Path p, char* to, size_t size),        f,  f, p, to, size)
COUNTED(callStat,  int,     access,      (Path p, int mode),                            p,  p, mode)
COUNTED(callOther, int,     mkdir,       (Path p, mode_t mode),                         p,  p, mode)
COUNTED(callOther, int,     remove,      (Path p),                                      p,  p)
COUNTED(callOther, int,     unlink,      (Path p),                                      p,  p)
COUNTED(callOther, int,     uname,       (utsname* host),                               "", host)
COUNTED(callOther, int,     getrlimit64, (__rlimit_resource_t what, rlimit64* limit),   "", what, limit)
COUNTED(callOther, int,     sigprocmask, (int how, const sigset_t* s, sigset_t* old),   "", how, s, old)
COUNTED(callOther, sighandler_t, signal, (int number, sighandler_t handler),            "", number, handler)
COUNTED(callOther, int,     gettimeofday, (timeval* now, void* zone),                   "", now, zone)
// clang-format on
// NOLINTEND(bugprone-reserved-identifier,performance-no-int-to-ptr)

} // extern "C"
