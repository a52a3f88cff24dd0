#pragma once

#include <cassert>
#include <cstddef>

/// The header of a text block; the characters and their terminator follow it. A block for n characters is one
/// array of n + 13 chars. The byte at index nDataLength is always 0.
struct VStringData {
    int nRefs;        ///< how many strings share the block; negative: it is never shared
    int nDataLength;  ///< characters in use, without the terminator
    int nAllocLength; ///< characters available, without the terminator

    char* Characters() noexcept { return reinterpret_cast<char*>(this + 1); }
};

static_assert(sizeof(VStringData) == 12);

/// The static block of empty strings: count -1, length 0, capacity 0, terminator. Never counted, never freed.
extern int rgInitData[4];
extern VStringData* vDataNil;
extern const char* vPchNil; ///< the characters of rgInitData
extern char vChNil;

/// A byte string over a reference-counted block that is copied on write. Counts are not atomic: a string and all
/// that share its block belong to one thread.
///
/// A new block is exactly as large as the text; only GetBuffer reserves more. A string whose text gets shorter may keep
/// its block. Unless a function says otherwise, a null text, a negative size and an index out of range fail an
/// assertion. When a block cannot be allocated, a pointer to VError is thrown (module 75, number 4109, severity 3, the
/// bytes requested), and the string is as it was.
class VString {
public:
    VString() noexcept;
    VString(const VString& other);
    /// A null pointer gives the empty string.
    VString(const char* text);
    /// `count` times `ch`; empty when the count is below 1.
    VString(char ch, int count);
    ~VString();

    VString& operator=(const VString& other);
    VString& operator=(const char* lpsz);
    VString& operator+=(const char* lpsz);
    VString& operator+=(char ch);
    VString& operator+=(const VString& other);

    operator const char*() const { return GetData()->Characters(); }
    int GetLength() const { return GetData()->nDataLength; }
    bool IsEmpty() const { return GetData()->nDataLength == 0; }

    /// Makes the string empty and gives its block up, except one that is never shared.
    void Empty();

    /// Returns: a writable buffer that holds the current text and has room for at least `nMinBufLength` characters.
    /// Call ReleaseBuffer when done with it.
    char* GetBuffer(int nMinBufLength);
    /// Sets the length and frees the unused room. -1 takes the length up to the first zero byte, which must be there.
    void ReleaseBuffer(int nNewLength = -1);
    /// Shrinks the block to the length of the text.
    void FreeExtra();

    void SetAt(int nIndex, char ch);
    void MakeUpper();
    /// Remove white space. Bytes from 0x80 up never count as that.
    void TrimLeft();
    void TrimRight();

    /// Returns: the offset of the first match, or -1. The character 0 is found at the end of the text. `nStart` must
    /// lie within 0 to the length, which is not checked.
    int Find(char ch) const;
    int Find(char ch, int nStart) const;
    int Find(const char* lpszSub) const;

    /// Parts of the text. An offset or a count that reaches out of it is cut to it.
    VString Mid(int first) const;
    VString Mid(int first, int count) const;
    VString Left(int count) const;
    VString Right(int count) const;

    friend VString operator+(const VString& left, const VString& right);
    friend VString operator+(const VString& left, const char* lpsz);
    friend VString operator+(const char* lpsz, const VString& right);
    friend VString operator+(const VString& left, char ch);

private:
    VString(const char* text, std::size_t length);

    VStringData* GetData() const {
        // Spelled __null so that the message of a failed assertion stays the same.
        assert(m_pchData != __null);
        return reinterpret_cast<VStringData*>(m_pchData) - 1;
    }

    static VStringData* NewBlock(int nLen);
    /// Defined in VError.cpp, since an error object holds strings.
    [[noreturn]] static void FailForWantOf(std::size_t bytes);
    void AllocBuffer(int nLen);
    /// Gives a block up. The first makes the string empty, too.
    void Release();
    static void Release(VStringData* pData);
    void CopyBeforeWrite();
    /// Makes room for nLen characters; the old text may be lost. Returns: the block to release once the new text is in
    /// place, vDataNil for none.
    VStringData* AllocBeforeWrite(int nLen);
    void AssignCopy(int nSrcLen, const char* src);
    void ConcatCopy(int n1, const char* s1, int n2, const char* s2);
    void ConcatInPlace(int nSrcLen, const char* src);
    void SetLength(int nLen);

    char* m_pchData;
};

static_assert(sizeof(VString) == sizeof(char*));

/// The shared empty string. Lives until the process ends.
const VString& GetEmptyString();

/// Compares without regard to the case of ASCII letters, whatever the locale. Bytes from 0x80 up are equal to
/// themselves alone and sort below all others. Neither text may be null. Returns: -1, 0 or 1.
int qx_stricmp(const char* a, const char* b);

/// Fills the first two "%s" markers of `text`. Before the second marker "%%" becomes one "%"; all other text stays,
/// other conversions included. A first marker that is part of "%%s" counts but is not filled. A null argument shows as
/// "(null)". Returns: 1, or 0 with `text` unchanged when there are fewer than two markers.
int VStringFormat(VString& text, const char* first, char* second);
