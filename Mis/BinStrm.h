#pragma once

#include "Mis/Unix/Descriptor.h"

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>

/// A binary file stream of raw bytes and little-endian integers. Failures are thrown as pointers to VI18NError (module
/// 55, severity 3, the file name as parameter); only the raw calls throw nothing. Opening a stream that is open is an
/// error of the caller.
class VBinaryStream {
public:
    enum AccessMode : int {
        ReadMode = 0,
        WriteMode = 1,  ///< creates or truncates
        UpdateMode = 2, ///< reads and writes, creating the file when absent
        ReadShareMode = 3,
    };

    VBinaryStream();
    VBinaryStream(const VBinaryStream&) = delete;
    VBinaryStream& operator=(const VBinaryStream&) = delete;
    /// Closes; what fails then is dropped.
    virtual ~VBinaryStream();

    /// Throws 4144 when the file cannot be read, VI18NFileNotFoundError when it is missing, 4145 when it cannot be
    /// written or created, 4159 (no parameter) when the directory of a new file cannot be searched. A mode outside of
    /// the enumeration opens nothing.
    void Open(const char* filespec, AccessMode mode);
    /// Goes on with a file that is open already for reading and writing, and closes it in the end. Throws 4145.
    void Open(Descriptor file, const char* filespec, AccessMode mode);
    /// The number that the system knows the open file by; below 0 when there is none.
    int GetDescriptor() const noexcept;
    /// True when reading the open file has failed, not merely ended.
    bool HasReadFailed() const noexcept;
    /// Closes in any case. Throws 4152 when the last bytes could not be written, else 4148 when closing failed.
    void Close();
    /// Throws 4152, whose cause is the system's error, when this or an earlier write failed.
    void Flush();

    /// Returns: the bytes moved, fewer than `count` at the end of the file and after an error; 0 when closed. `buffer`
    /// may be null when `count` is 0.
    unsigned ReadRawData(unsigned char* buffer, unsigned count);
    unsigned WriteRawData(unsigned char* buffer, unsigned count);

    /// Throw 4151, whose cause tells the end of the file (5114) from an error, unless all bytes are read.
    void ReadBytes(unsigned char* buffer, unsigned count);
    void ReadInt16(unsigned short& value);
    /// REQUIRES: 0 <= len <= 4.
    void ReadInt32(unsigned& value, int len);

private:
    enum class OpenKind { readOnly = 0, write = 1, update = 2 };
    enum class Direction { read = 0, write = 1, none = 2 };

    static constexpr std::size_t streamBufferSize = 65536;

    void Prepare(const char* filespec);
    void OpenToRead(const char* filespec);
    void OpenToUpdate(const char* filespec);
    void Turn(Direction direction);
    void NoteWrite(bool complete);
    bool CloseFile();

    const unsigned char* m_buffer = nullptr; ///< always null: only files are opened
    std::unique_ptr<char[]> m_streamBuffer;  ///< m_file's
    std::FILE* m_file = nullptr;
    std::string m_name;
    OpenKind m_openKind = OpenKind::readOnly;
    Direction m_direction = Direction::none;
    int m_writeError = 0; ///< errno of the last write that failed
};
