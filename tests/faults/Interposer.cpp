// A preload library that makes the tool's outside calls fail, from the start of its main() to the end.
// What the C library calls inside itself cannot be replaced by name. Every file is therefore opened as a stream whose
// reads, writes, seeks and closing are functions of this library: all buffering and all error flags stay the C
// library's own.

#include "tests/faults/Interposer.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include <dlfcn.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/utsname.h>
#include <unistd.h>

#define NEXT(function) reinterpret_cast<decltype(&(function))>(dlsym(RTLD_NEXT, #function))

namespace {

Plan* plan = nullptr; ///< null outside of main()

struct File {
    std::FILE* stream;
    std::FILE* inner; ///< the C library's own stream, which lends its descriptor
    bool writesLive;

    int Descriptor() const { return NEXT(fileno)(inner); }
};

File files[8];

/// Counts the call. Returns: true when it is to fail; errno is set.
bool Hit(Call call) {
    if (plan == nullptr || (plan->calls & Only(call)) == 0) {
        return false;
    }
    const long number = ++plan->reached;
    if (number < plan->first || number > plan->last) {
        return false;
    }
    ++plan->injected;
    plan->injectedInSave += std::any_of(files, std::end(files), [](const File& file) { return file.writesLive; });
    if (plan->effect == Effect::kill) {
        kill(getpid(), SIGKILL);
    }
    if (plan->effect == Effect::command) {
        static_cast<void>(std::system(plan->command));
        return false;
    }
    errno = plan->error;
    return true;
}

/// What a transfer of `size` bytes may move. Returns: 0 for an error.
std::size_t Room(Call call, std::size_t size) {
    return !Hit(call) ? size : plan->effect == Effect::half && plan->injected == 1 ? size / 2 : 0;
}

ssize_t Read(void* cookie, char* buffer, std::size_t size) {
    const std::size_t room = Room(callRead, size);
    return room == 0 ? -1 : read(static_cast<File*>(cookie)->Descriptor(), buffer, room);
}

/// What is less than `size` sets the stream's error flag, as a failing write does.
ssize_t Write(void* cookie, const char* buffer, std::size_t size) {
    const std::size_t room = Room(callWrite, size);
    return std::max<ssize_t>(0, write(static_cast<File*>(cookie)->Descriptor(), buffer, room));
}

int Seek(void* cookie, off64_t* offset, int whence) {
    *offset = Hit(callOther) ? -1 : lseek64(static_cast<File*>(cookie)->Descriptor(), *offset, whence);
    return *offset < 0 ? -1 : 0;
}

int Close(void* cookie) {
    File& file = *static_cast<File*>(cookie);
    const bool fails = file.inner != nullptr && Hit(callOther);
    const int result = file.inner == nullptr ? 0 : NEXT(fclose)(file.inner);
    file = {};
    return fails ? -1 : result;
}

File* FileOf(const std::FILE* stream) {
    File* const file = std::find_if(files, std::end(files), [&](const File& each) { return each.stream == stream; });
    return file == std::end(files) ? nullptr : file;
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

// NOLINTNEXTLINE(bugprone-reserved-identifier)
int __libc_start_main(decltype(realMain) program, int argc, char** argv, void (*init)(), void (*fini)(),
                      void (*loaderFini)(), void* stackEnd) {
    realMain = program;
    return NEXT(__libc_start_main)(CountedMain, argc, argv, init, fini, loaderFini, stackEnd);
}

// All memory comes first, lest a file be cut for want of it.
std::FILE* fopen64(const char* path, const char* mode) {
    File* const file = FileOf(nullptr);
    file->writesLive = plan != nullptr && std::strcmp(path, plan->live) == 0 && std::strpbrk(mode, "wa+") != nullptr;
    file->stream = fopencookie(file, mode, {Read, Write, Seek, Close});
    file->inner = file->stream == nullptr || Hit(callOpen) ? nullptr : NEXT(fopen64)(path, mode);
    if (file->inner == nullptr) {
        file->stream == nullptr ? Close(file) : std::fclose(file->stream);
        return nullptr;
    }
    return file->stream;
}

int fileno(std::FILE* stream) noexcept {
    const File* const file = FileOf(stream);
    return file == nullptr ? NEXT(fileno)(stream) : file->Descriptor();
}

#define COUNTED(call, failure, function, result, parameters, ...)                                                      \
    result function parameters {                                                                                       \
        static const auto next = NEXT(function);                                                                       \
        return Hit(call) ? failure : next(__VA_ARGS__);                                                                \
    }

COUNTED(callStat, -1, stat64, int, (const char* path, struct stat64* status) noexcept, path, status)
COUNTED(callStat, -1, lstat64, int, (const char* path, struct stat64* status) noexcept, path, status)
COUNTED(callStat, -1, fstat64, int, (int descriptor, struct stat64* status) noexcept, descriptor, status)
COUNTED(callOther, -1, access, int, (const char* path, int mode) noexcept, path, mode)
COUNTED(callOther, -1, mkdir, int, (const char* path, mode_t mode) noexcept, path, mode)
COUNTED(callOther, -1, remove, int, (const char* path) noexcept, path)
COUNTED(callOther, -1, uname, int, (utsname * host) noexcept, host)
COUNTED(callOther, -1, gettimeofday, int, (timeval * now, void* zone) noexcept, now, zone)
#ifdef FAULTS_OF_MEMORY
COUNTED(callMemory, nullptr, malloc, void*, (std::size_t size) noexcept, size)
#endif

} // extern "C"
