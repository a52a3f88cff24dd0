#include "Mis/BinStrm.h"

#include "Mis/Report.h"
#include "Mis/Unix/FileStatus.h"
#include "Mis/Unix/SysClientUnix.h"

#include <cassert>
#include <cerrno>
#include <memory>

VBinaryStream::VBinaryStream() = default;

VBinaryStream::~VBinaryStream() {
    err_attempt([this] { Close(); });
}

/// Allocates before opening: once open has truncated the file, nothing may fail.
void VBinaryStream::Prepare(const char* filespec) {
    assert(m_file == 0);
    assert(m_buffer == 0);
    m_name = filespec == nullptr ? "" : filespec;
    m_direction = Direction::none;
    m_writeError = 0;
    // Callers move small pieces; with the usual buffer each could be a system call of its own.
    m_streamBuffer.reset(new char[streamBufferSize]);
    // Opening an empty name fails without setting errno, which must not be that of an earlier call then.
    errno = 0;
}

void VBinaryStream::Open(const char* filespec, AccessMode mode) {
    Prepare(filespec);
    switch (mode) {
    case ReadMode:
    case ReadShareMode: OpenToRead(filespec); break;
    case WriteMode:
        m_file = sys_fopen(filespec, "w+b", 0);
        m_openKind = OpenKind::write;
        if (m_file == nullptr) {
            err_fail(msgCannotCreate, m_name.c_str());
        }
        break;
    case UpdateMode: OpenToUpdate(filespec); break;
    }
    if (m_file != nullptr) {
        std::setvbuf(m_file, m_streamBuffer.get(), _IOFBF, streamBufferSize);
    }
}

void VBinaryStream::OpenToRead(const char* filespec) {
    m_file = sys_fopen(filespec, "rb", 0);
    m_openKind = OpenKind::readOnly;
    if (m_file != nullptr) {
        return;
    }
    if (errno == ENOENT) {
        err_throw(
            std::make_unique<VI18NFileNotFoundError>(msgFileNotFound.module, msgFileNotFound.severity, m_name.c_str()));
    }
    err_fail(msgCannotOpen, m_name.c_str());
}

void VBinaryStream::OpenToUpdate(const char* filespec) {
    m_file = sys_fopen(filespec, "r+b", 0);
    m_openKind = OpenKind::update;
    const Presence presence = m_file != nullptr ? Presence::present : FileStatus::OfEntry(m_name).GetPresence();
    if (presence == Presence::unknown) {
        err_fail(msgSearchFailed);
    }
    if (presence == Presence::missing) {
        // "x" refuses a file that has appeared meanwhile, so that its content is not lost.
        m_file = sys_fopen(filespec, "w+bx", 0);
    }
    if (m_file == nullptr) {
        err_fail(msgCannotCreate, m_name.c_str());
    }
}

void VBinaryStream::Close() {
    if (m_file == nullptr) {
        return;
    }
    if (m_openKind != OpenKind::readOnly) {
        try {
            Flush();
        } catch (...) {
            CloseFile();
            throw;
        }
    }
    if (!CloseFile()) {
        err_fail(msgCannotClose, m_name.c_str());
    }
}

bool VBinaryStream::CloseFile() {
    std::FILE* file = m_file;
    m_file = nullptr;
    return std::fclose(file) == 0;
}

void VBinaryStream::Flush() {
    if (m_file == nullptr) {
        return;
    }
    NoteWrite(std::fflush(m_file) == 0);
    if (m_writeError != 0) {
        errno = m_writeError;
        err_failBecause(std::unique_ptr<VError>(getSystemError()), msgNotWritten, m_name.c_str());
    }
    m_direction = Direction::none;
}

/// C streams need a seek between writing and reading; seek by zero. The seek writes out what is buffered first, so on a
/// FIFO, which has no position, nothing is lost when it fails with ESPIPE.
void VBinaryStream::Turn(Direction direction) {
    if (m_direction != Direction::none && m_direction != direction) {
        NoteWrite(fseeko(m_file, 0, SEEK_CUR) == 0 || errno == ESPIPE);
    }
    m_direction = direction;
}

/// Keeps the error of a write for the next flush to report: buffered bytes may be lost long before that.
void VBinaryStream::NoteWrite(bool complete) {
    if (!complete) {
        m_writeError = errno != 0 ? errno : EIO;
    }
}

unsigned VBinaryStream::ReadRawData(unsigned char* buffer, unsigned count) {
    if (m_file == nullptr) {
        return 0;
    }
    Turn(Direction::read);
    return count == 0 ? 0 : static_cast<unsigned>(std::fread(buffer, 1, count, m_file));
}

unsigned VBinaryStream::WriteRawData(unsigned char* buffer, unsigned count) {
    if (m_file == nullptr) {
        return 0;
    }
    Turn(Direction::write);
    const auto written = count == 0 ? 0 : static_cast<unsigned>(std::fwrite(buffer, 1, count, m_file));
    NoteWrite(written == count);
    return written;
}

void VBinaryStream::ReadBytes(unsigned char* buffer, unsigned count) {
    if (count == 0) {
        return;
    }
    errno = 0;
    if (m_file == nullptr) {
        err_failBecause(std::unique_ptr<VError>(getSystemError()), msgReadFailed, m_name.c_str());
    }
    Turn(Direction::read);
    const bool complete = std::fread(buffer, count, 1, m_file) == 1;
    if (std::feof(m_file) != 0) {
        err_failBecause(err_make(msgEndOfFile), msgReadFailed, m_name.c_str());
    }
    if (const int flag = std::ferror(m_file); flag != 0) {
        err_failBecause(err_make(msgStreamError, flag), msgReadFailed, m_name.c_str());
    }
    if (!complete) {
        err_failBecause(std::unique_ptr<VError>(getSystemError()), msgReadFailed, m_name.c_str());
    }
}

void VBinaryStream::ReadInt16(unsigned short& value) {
    unsigned wide = 0;
    ReadInt32(wide, 2);
    value = static_cast<unsigned short>(wide);
}

void VBinaryStream::ReadInt32(unsigned& value, int len) {
    assert(len >= 0 && len <= 4);
    unsigned char bytes[4] = {};
    ReadBytes(bytes, static_cast<unsigned>(len));
    value = 0;
    for (int i = len; i > 0; --i) {
        value = value << 8 | bytes[i - 1];
    }
}
