#pragma once

#include <cassert>

/// The header of a text block; the characters and their terminator follow it. A block for n characters is one
/// array of n + 13 chars. The byte at index nDataLength is always 0.
struct VStringData {
    int nRefs;        ///< strings that share the block; negative: the block is never shared
    int nDataLength;  ///< characters in use, without the terminator
    int nAllocLength; ///< characters available, without the terminator

    char* Characters() noexcept { return reinterpret_cast<char*>(this + 1); }
};

static_assert(sizeof(VStringData) == 12);

/// The static block of all empty texts: count -1, length 0, capacity 0, terminator. Never counted, never freed.
extern int rgInitData[4];
extern VStringData* vDataNil;
extern const char* vPchNil; ///< the characters of rgInitData
extern char vChNil;

/// A byte string over a reference-counted block that is copied on write. Counts are not atomic: a string and all
/// that share its block belong to one thread.
///
/// Blocks are always of the exact size needed; only GetBuffer reserves room. A null text, a negative size and an
/// index out of range are errors of the caller and stop the process through an assertion. A block that cannot be
/// allocated throws a pointer to VError (module 75, number 4109, severity 3, the bytes requested), and leaves the
/// string as it was.
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

    /// Goes back to the static empty block.
    void Empty();

    /// A writable buffer of at least `nMinBufLength` characters that holds the current text. ReleaseBuffer ends
    /// its use.
    char* GetBuffer(int nMinBufLength);
    /// Sets the length, -1 for that of the text up to the first zero byte, which must then be there, and gives
    /// the unused room back.
    void ReleaseBuffer(int nNewLength = -1);
    /// Shrinks the block to the length of the text.
    void FreeExtra();

    void SetAt(int nIndex, char ch);
    void MakeUpper();
    void TrimLeft();
    /// Bytes from 0x7F up never count as white space here.
    void TrimRight();

    /// The offset of the first match or -1. Searching for the character 0 gives the length. `nStart` lies within
    /// 0 to the length, which is not checked.
    int Find(char ch) const;
    int Find(char ch, int nStart) const;
    int Find(const char* lpszSub) const;

    /// Parts of the text; offsets and counts outside of it are cut to it.
    VString Mid(int first) const;
    VString Mid(int first, int count) const;
    VString Left(int count) const;
    VString Right(int count) const;

    friend VString operator+(const VString& left, const VString& right);
    friend VString operator+(const VString& left, const char* lpsz);
    friend VString operator+(const char* lpsz, const VString& right);
    friend VString operator+(const VString& left, char ch);

private:
    VStringData* GetData() const {
        // The literal is what the message of the shipped assertion shows.
        assert(m_pchData != __null);
        return reinterpret_cast<VStringData*>(m_pchData) - 1;
    }

    static VStringData* NewBlock(int nLen);
    static void Release(VStringData* pData);
    static void DropReference(VStringData* pData);
    void AllocBuffer(int nLen);
    void Release();
    void CopyBeforeWrite();
    /// Makes room for nLen characters, whose old contents are lost. Returns: the block to release once the new
    /// ones are in place, vDataNil for none.
    VStringData* AllocBeforeWrite(int nLen);
    void AllocCopy(VString& dest, int nCopyLen, int nCopyIndex, int nExtraLen) const;
    void AssignCopy(int nSrcLen, const char* src);
    void ConcatCopy(int n1, const char* s1, int n2, const char* s2);
    void ConcatInPlace(int nSrcLen, const char* src);
    void SetLength(int nLen);

    char* m_pchData;
};

static_assert(sizeof(VString) == sizeof(char*));

/// The shared empty string. Lives until the process ends.
const VString& GetEmptyString();

/// Compares case-insensitively; bytes from 0x80 up sort below all others. Returns: -1, 0 or 1.
int qx_stricmp(const char* a, const char* b);

/// Fills the first two "%s" markers of `text`. In the part before the second marker "%%" stands for one "%", other text
/// for itself; a null argument shows as "(null)". Returns: 1, or 0 with `text` unchanged when there are fewer markers.
int VStringFormat(VString& text, const char* first, char* second);
