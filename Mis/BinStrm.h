#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>

/// A binary file stream of raw bytes and little-endian integers. Failures are thrown as pointers to VI18NError (module
/// 55, severity 3, the file name as parameter); only the raw calls throw nothing. REQUIRES: the stream is closed when
/// it is opened.
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
    /// Closes and drops any error of that.
    virtual ~VBinaryStream();

    /// Opens a file. For reading, throws VI18NFileNotFoundError when it is missing, else 4144; for writing, 4145. In
    /// UpdateMode, throws 4159 (no parameter) when the system cannot tell whether the file is there. A mode outside of
    /// the enumeration opens nothing.
    void Open(const char* filespec, AccessMode mode);
    /// Closes in any case. Throws 4152 as Flush does, else 4148 when closing failed.
    void Close();
    /// Writes out what is buffered. Throws 4152, with the system's error as cause, if this or an earlier write failed.
    void Flush();

    /// Read into or write from `buffer`, which may be null when `count` is 0. Returns: the bytes moved, fewer than
    /// `count` at the end of the file and after an error; 0 when the stream is closed.
    unsigned ReadRawData(unsigned char* buffer, unsigned count);
    unsigned WriteRawData(unsigned char* buffer, unsigned count);

    /// Read all the bytes, or throw 4151. Its cause is 5114 at the end of the file, otherwise the error.
    void ReadBytes(unsigned char* buffer, unsigned count);
    void ReadInt16(unsigned short& value);
    /// Reads `len` bytes. REQUIRES: 0 <= len <= 4.
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
