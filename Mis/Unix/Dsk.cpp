#include "Mis/Unix/Dsk.h"

#include "MessageLIB/Message.h"
#include "MessageLIB/MessageIds.h"
#include "Mis/VError.h"

#include <cerrno>
#include <cstring>
#include <string>

#include <sys/stat.h>

namespace {

enum class Kind { directory, other, absent, unknown };

Kind KindOf(const char* path) {
    struct stat status = {};
    if (stat(path, &status) == 0) {
        return S_ISDIR(status.st_mode) ? Kind::directory : Kind::other;
    }
    return errno == ENOENT ? Kind::absent : Kind::unknown;
}

bool MakeDirectory(const std::string& path) {
    switch (KindOf(path.c_str())) {
    case Kind::directory: return true;
    case Kind::other:
    case Kind::unknown: return false;
    case Kind::absent: break;
    }
    if (mkdir(path.c_str(), 0700) == 0) {
        return true;
    }
    // Somebody else may have made it meanwhile.
    return errno == EEXIST && KindOf(path.c_str()) == Kind::directory;
}

} // namespace

int CreateUnixPath(const char* dirspec) {
    const Kind kind = KindOf(dirspec);
    if (kind == Kind::directory || kind == Kind::other) {
        return 1;
    }
    const std::string path = dirspec;
    for (std::size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1)) {
        if (!MakeDirectory(path.substr(0, slash))) {
            return 0;
        }
    }
    return 1;
}

int dsk_credir(void* /*device*/, const char* dirspec, unsigned /*opts*/, void* attributes, char* fullname, int) {
    if (fullname != nullptr) {
        *fullname = '\0';
    }
    if (CreateUnixPath(dirspec) < 1 || attributes != nullptr) {
        I18NMessage::Message::LogMsg(msgCannotCreateDirectory, msg_mod2str(modDisk), I18NMessage::SeverityError,
                                     dirspec);
        return -1;
    }
    if (fullname != nullptr) {
        std::strcpy(fullname, dirspec);
    }
    return 1;
}
