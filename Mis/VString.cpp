#include "Mis/VString.h"

#include "classlib/String.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

// Compilers initialise these without running code: strings of other units may be made before this unit's turn.
constinit int rgInitData[4] = {-1, 0, 0, 0};
VStringData* vDataNil = reinterpret_cast<VStringData*>(rgInitData);
const char* vPchNil = reinterpret_cast<const char*>(rgInitData + 3);
constinit char vChNil = 0;

using txccl::string::Lowered;

namespace {

constexpr int blockOverhead = static_cast<int>(sizeof(VStringData)) + 1;

bool IsValidString(const char* text) noexcept {
    return text != nullptr;
}

int Length(const char* text) {
    const std::size_t nLen = std::strlen(text);
    assert(nLen <= (2147483647 - 1));
    return static_cast<int>(nLen);
}

/// White space as isspace sees a sign-extended byte: bytes from 0x80 up are none.
bool IsSpace(char ch) {
    const auto byte = static_cast<unsigned char>(ch);
    return byte < 0x80 && std::isspace(byte) != 0;
}

} // namespace

VString::VString() noexcept : m_pchData(vDataNil->Characters()) {}

VString::VString(const VString& other) : VString() {
    assert(other.GetData()->nRefs != 0);
    if (other.GetData()->nRefs < 0) {
        AssignCopy(other.GetLength(), other.m_pchData);
        return;
    }
    assert(other.GetData() != vDataNil);
    m_pchData = other.m_pchData;
    ++GetData()->nRefs;
}

VString::VString(const char* text) : VString(text, text == nullptr ? 0 : static_cast<std::size_t>(Length(text))) {}

VString::VString(const char* text, std::size_t length) : VString() {
    if (length > 0) {
        AllocBuffer(static_cast<int>(length));
        std::memcpy(m_pchData, text, length);
    }
}

VString::VString(char ch, int count) : VString() {
    if (count >= 1) {
        AllocBuffer(count);
        std::memset(m_pchData, ch, static_cast<std::size_t>(count));
    }
}

VString::~VString() {
    Release(GetData());
}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): a string shares its own characters
VString& VString::operator=(const VString& other) {
    if (m_pchData == other.m_pchData) {
        return *this;
    }
    const bool ownUnshared = GetData()->nRefs < 0 && GetData() != vDataNil;
    if (ownUnshared || other.GetData()->nRefs < 0) {
        AssignCopy(other.GetLength(), other.m_pchData);
        return *this;
    }
    Release();
    assert(other.GetData() != vDataNil);
    m_pchData = other.m_pchData;
    ++GetData()->nRefs;
    return *this;
}

VString& VString::operator=(const char* lpsz) {
    assert(IsValidString(lpsz));
    AssignCopy(Length(lpsz), lpsz);
    return *this;
}

VString& VString::operator+=(const char* lpsz) {
    assert(IsValidString(lpsz));
    ConcatInPlace(Length(lpsz), lpsz);
    return *this;
}

VString& VString::operator+=(char ch) {
    ConcatInPlace(1, &ch);
    return *this;
}

VString& VString::operator+=(const VString& other) {
    ConcatInPlace(other.GetLength(), other.m_pchData);
    return *this;
}

VString operator+(const VString& left, const VString& right) {
    VString sum;
    sum.ConcatCopy(left.GetLength(), left.m_pchData, right.GetLength(), right.m_pchData);
    return sum;
}

VString operator+(const VString& left, const char* lpsz) {
    assert(IsValidString(lpsz));
    VString sum;
    sum.ConcatCopy(left.GetLength(), left.m_pchData, Length(lpsz), lpsz);
    return sum;
}

VString operator+(const char* lpsz, const VString& right) {
    assert(IsValidString(lpsz));
    VString sum;
    sum.ConcatCopy(Length(lpsz), lpsz, right.GetLength(), right.m_pchData);
    return sum;
}

VString operator+(const VString& left, char ch) {
    VString sum;
    sum.ConcatCopy(left.GetLength(), left.m_pchData, 1, &ch);
    return sum;
}

void VString::Empty() {
    if (GetData()->nRefs < 0) {
        *this = &vChNil;
    } else {
        Release();
    }
    assert(GetData()->nDataLength == 0);
    assert(GetData()->nRefs < 0 || GetData()->nAllocLength == 0);
}

char* VString::GetBuffer(int nMinBufLength) {
    assert(nMinBufLength >= 0);
    if (GetData()->nRefs > 1 || nMinBufLength > GetData()->nAllocLength) {
        VStringData* pOldData = GetData();
        const int nOldLen = pOldData->nDataLength;
        AllocBuffer(std::max(nMinBufLength, nOldLen));
        std::memcpy(m_pchData, pOldData->Characters(), static_cast<std::size_t>(nOldLen) + 1);
        GetData()->nDataLength = nOldLen;
        Release(pOldData);
    }
    assert(GetData()->nRefs <= 1);
    return m_pchData;
}

void VString::ReleaseBuffer(int nNewLength) {
    CopyBeforeWrite();
    if (nNewLength == -1) {
        nNewLength = Length(m_pchData);
    }
    assert(nNewLength >= 0);
    assert(nNewLength <= GetData()->nAllocLength);
    SetLength(nNewLength);
    FreeExtra();
}

void VString::FreeExtra() {
    assert(GetData()->nDataLength <= GetData()->nAllocLength);
    if (GetData()->nDataLength == GetData()->nAllocLength) {
        return;
    }
    VStringData* pOldData = GetData();
    AllocBuffer(pOldData->nDataLength);
    std::memcpy(m_pchData, pOldData->Characters(), static_cast<std::size_t>(pOldData->nDataLength));
    assert(m_pchData[GetData()->nDataLength] == '\0');
    Release(pOldData);
}

void VString::SetAt(int nIndex, char ch) {
    assert(nIndex >= 0);
    assert(nIndex < GetData()->nDataLength);
    CopyBeforeWrite();
    m_pchData[nIndex] = ch;
}

void VString::MakeUpper() {
    CopyBeforeWrite();
    for (char* pch = m_pchData; *pch != '\0'; ++pch) {
        *pch = static_cast<char>(std::toupper(static_cast<unsigned char>(*pch)));
    }
}

void VString::TrimLeft() {
    CopyBeforeWrite();
    const int nLength = GetLength();
    int nSpaces = 0;
    while (IsSpace(m_pchData[nSpaces])) {
        ++nSpaces;
    }
    if (nSpaces > 0) {
        std::memmove(m_pchData, m_pchData + nSpaces, static_cast<std::size_t>(nLength - nSpaces) + 1);
        GetData()->nDataLength = nLength - nSpaces;
    }
}

void VString::TrimRight() {
    CopyBeforeWrite();
    const char* pchRun = nullptr;
    for (const char* pch = m_pchData; *pch != '\0'; ++pch) {
        if (!IsSpace(*pch)) {
            pchRun = nullptr;
        } else if (pchRun == nullptr) {
            pchRun = pch;
        }
    }
    if (pchRun != nullptr) {
        SetLength(static_cast<int>(pchRun - m_pchData));
    }
}

int VString::Find(char ch) const {
    return Find(ch, 0);
}

int VString::Find(char ch, int nStart) const {
    const char* pch = std::strchr(static_cast<const char*>(*this) + nStart, ch);
    return pch == nullptr ? -1 : static_cast<int>(pch - m_pchData);
}

int VString::Find(const char* lpszSub) const {
    assert(IsValidString(lpszSub));
    const char* pch = std::strstr(static_cast<const char*>(*this), lpszSub);
    return pch == nullptr ? -1 : static_cast<int>(pch - m_pchData);
}

VString VString::Mid(int first) const {
    const auto count = static_cast<long long>(GetLength()) - first;
    return Mid(first, static_cast<int>(std::min<long long>(count, INT_MAX)));
}

VString VString::Mid(int first, int count) const {
    const int nLength = GetLength();
    first = std::clamp(first, 0, nLength);
    count = std::clamp(count, 0, nLength - first);
    return {m_pchData + first, static_cast<std::size_t>(count)};
}

VString VString::Left(int count) const {
    return Mid(0, count);
}

VString VString::Right(int count) const {
    count = std::clamp(count, 0, GetLength());
    return Mid(GetLength() - count, count);
}

VStringData* VString::NewBlock(int nLen) {
    const std::size_t bytes = static_cast<std::size_t>(nLen) + blockOverhead;
    char* memory = new (std::nothrow) char[bytes];
    if (memory == nullptr) {
        FailForWantOf(bytes);
    }
    auto* pData = new (memory) VStringData{1, nLen, nLen};
    pData->Characters()[nLen] = '\0';
    return pData;
}

void VString::AllocBuffer(int nLen) {
    assert(nLen >= 0);
    assert(nLen <= (2147483647 - 1));
    m_pchData = nLen == 0 ? vDataNil->Characters() : NewBlock(nLen)->Characters();
}

void VString::Release() {
    assert(GetData()->nRefs != 0);
    Release(GetData());
    m_pchData = vDataNil->Characters();
}

void VString::Release(VStringData* pData) {
    assert(pData->nRefs != 0);
    if (pData != vDataNil && --pData->nRefs <= 0) {
        delete[] reinterpret_cast<char*>(pData);
    }
}

void VString::CopyBeforeWrite() {
    if (GetData()->nRefs > 1) {
        VStringData* pOldData = GetData();
        AllocBuffer(pOldData->nDataLength);
        std::memcpy(m_pchData, pOldData->Characters(), static_cast<std::size_t>(pOldData->nDataLength) + 1);
        Release(pOldData);
    }
    assert(GetData()->nRefs <= 1);
}

VStringData* VString::AllocBeforeWrite(int nLen) {
    VStringData* pOldData = vDataNil;
    if (GetData()->nRefs > 1 || nLen > GetData()->nAllocLength) {
        pOldData = GetData();
        AllocBuffer(nLen);
    }
    assert(GetData()->nRefs <= 1);
    return pOldData;
}

void VString::AssignCopy(int nSrcLen, const char* src) {
    // The source may lie in the old block, so that is released last.
    VStringData* pOldData = AllocBeforeWrite(nSrcLen);
    std::memmove(m_pchData, src, static_cast<std::size_t>(nSrcLen));
    SetLength(nSrcLen);
    Release(pOldData);
}

void VString::ConcatCopy(int n1, const char* s1, int n2, const char* s2) {
    const long long nLen = static_cast<long long>(n1) + n2;
    if (nLen == 0) {
        return;
    }
    assert(nLen <= (2147483647 - 1));
    AllocBuffer(static_cast<int>(nLen));
    std::memcpy(m_pchData, s1, static_cast<std::size_t>(n1));
    std::memcpy(m_pchData + n1, s2, static_cast<std::size_t>(n2));
}

void VString::ConcatInPlace(int nSrcLen, const char* src) {
    if (nSrcLen == 0) {
        return;
    }
    VStringData* pOldData = GetData();
    const int nOldLen = pOldData->nDataLength;
    if (pOldData->nRefs <= 1 && nSrcLen <= pOldData->nAllocLength - nOldLen) {
        std::memmove(m_pchData + nOldLen, src, static_cast<std::size_t>(nSrcLen));
        SetLength(nOldLen + nSrcLen);
        assert(GetData()->nDataLength <= GetData()->nAllocLength);
        return;
    }
    ConcatCopy(nOldLen, m_pchData, nSrcLen, src);
    assert(pOldData != 0);
    Release(pOldData);
}

void VString::SetLength(int nLen) {
    GetData()->nDataLength = nLen;
    m_pchData[nLen] = '\0';
}

const VString& GetEmptyString() {
    // Never destroyed: destructors of static objects may still use it.
    static const VString& empty = *new VString();
    return empty;
}

int qx_stricmp(const char* a, const char* b) {
    while (*a != '\0' && Lowered(*a) == Lowered(*b)) {
        ++a;
        ++b;
    }
    const auto left = static_cast<signed char>(Lowered(*a));
    const auto right = static_cast<signed char>(Lowered(*b));
    if (left == right) {
        return 0;
    }
    return left < right ? -1 : 1;
}

int VStringFormat(VString& text, const char* first, char* second) {
    constexpr std::string_view marker = "%s";
    const std::string_view format = static_cast<const char*>(text);
    const std::size_t firstMarker = format.find(marker);
    if (firstMarker == std::string_view::npos) {
        return 0;
    }
    const std::size_t secondMarker = format.find(marker, firstMarker + marker.size());
    if (secondMarker == std::string_view::npos) {
        return 0;
    }
    std::string filled;
    for (std::size_t i = 0; i < secondMarker; ++i) {
        if (i == firstMarker) {
            filled += first == nullptr ? "(null)" : first;
            ++i;
        } else {
            filled += format[i];
            i += format.substr(i, 2) == "%%" ? 1 : 0;
        }
    }
    filled += second == nullptr ? "(null)" : second;
    filled += format.substr(secondMarker + marker.size());
    text = filled.c_str();
    return 1;
}
