#include "Mis/NamCommon.h"

#include <cassert>
#include <cstring>
#include <string_view>

constinit int SIDF_LCL_NS = sidf_get_ns();

namespace {

struct Syntax {
    int number;
    char separator;
    bool marksDirectories; ///< a directory's name ends in the separator
};

// clang-format off
constexpr Syntax syntaxes[] = {
    {  0, '\\', true },
    {  1, '\\', true },
    {  4, '\\', true },
    {  7, '\\', true },
    {  2, '/',  true },
    {  8, '\\', true },
    {  9, '/',  true },
    {119, '\\', false},
};
// clang-format on

const Syntax* FindSyntax(int number) noexcept {
    for (const Syntax& syntax : syntaxes) {
        if (syntax.number == number) {
            return &syntax;
        }
    }
    return nullptr;
}

char SeparatorOf(int syntax) {
    const Syntax* found = FindSyntax(syntax);
    if (found == nullptr) {
        assert(false);
    }
    return found->separator;
}

int ScanTo(std::size_t found, int* position, std::string_view text) {
    *position = static_cast<int>(found == std::string_view::npos ? text.size() : found);
    return found == std::string_view::npos ? 0 : 1;
}

int ScanToSeparator(char separator, int* position, std::string_view text) {
    return ScanTo(text.find(separator), position, text);
}

int ScanToName(char separator, int* position, std::string_view text) {
    return ScanTo(text.find_first_not_of(separator), position, text);
}

/// An element ends at a separator or with the text. An empty one does not count.
int ScanToEnd(char separator, int* position, std::string_view text) {
    ScanToSeparator(separator, position, text);
    return *position > 0 ? 1 : 0;
}

/// Matches one element, going back to the latest "*" whenever a character does not fit.
bool MatchElement(std::string_view name, std::string_view pattern) {
    if (pattern == "*.*") {
        return true;
    }
    std::size_t n = 0;
    std::size_t p = 0;
    std::size_t star = std::string_view::npos;
    std::size_t starName = 0;
    while (n < name.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            star = p++;
            starName = n;
        } else if (p < pattern.size() && (pattern[p] == '?' || pattern[p] == name[n])) {
            ++p;
            ++n;
        } else if (star != std::string_view::npos) {
            p = star + 1;
            n = ++starName;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*', p) == std::string_view::npos;
}

} // namespace

VFileName::VFileName(const char* name, int syntax, bool isDirectory) {
    Initialize(VString(name), syntax, isDirectory);
}

VFileName::VFileName(const VString& name, int syntax, bool isDirectory) {
    Initialize(name, syntax, isDirectory);
}

VFileName::VFileName(const std::string& name, int syntax, bool isDirectory) {
    Initialize(VString(name.c_str()), syntax, isDirectory);
}

void VFileName::Initialize(const VString& name, int syntax, bool isDirectory) {
    m_name = name;
    m_syntax = syntax == -1 ? SIDF_LCL_NS : syntax;
    const Syntax* found = FindSyntax(m_syntax);
    const char separator = found == nullptr ? '\\' : found->separator;
    const bool marks = found == nullptr || found->marksDirectories;
    const int length = m_name.GetLength();
    if (isDirectory && marks && (length == 0 || static_cast<const char*>(m_name)[length - 1] != separator)) {
        m_name += separator;
    }
}

char VFileName::GetPathSeparator() const {
    return SeparatorOf(m_syntax);
}

VString VFileName::GetParentPath(bool hasTrailingSeparator) const {
    const Syntax* syntax = FindSyntax(m_syntax);
    if (syntax == nullptr) {
        throw 0;
    }
    const std::string_view name = static_cast<const char*>(m_name);
    std::size_t separator = name.rfind(syntax->separator);
    if (hasTrailingSeparator && separator != std::string_view::npos) {
        separator = separator == 0 ? std::string_view::npos : name.rfind(syntax->separator, separator - 1);
    }
    return separator == std::string_view::npos ? VString() : m_name.Left(static_cast<int>(separator));
}

VString VFileName::GetPart(int part, int* length, bool, bool, bool) {
    constexpr int namePart = 8;
    constexpr int fullNamePart = 14;
    VString text;
    if (part == namePart || part == fullNamePart) {
        const std::string_view name = static_cast<const char*>(m_name);
        text = m_name.Mid(static_cast<int>(name.rfind(GetPathSeparator()) + 1));
    }
    if (length != nullptr) {
        *length = text.GetLength();
    }
    return text;
}

int nam_fmt2sep(int syntax, int* position, const char* text) {
    return ScanToSeparator(SeparatorOf(syntax), position, text);
}

int nam_fmt2nam(int syntax, int* position, const char* text) {
    return ScanToName(SeparatorOf(syntax), position, text);
}

int nam_fmt2end(int syntax, int* position, const char* text) {
    return ScanToEnd(SeparatorOf(syntax), position, text);
}

// clang-format off
int nam_dos2sep  (int* position, const char* text)           { return ScanToSeparator('\\', position, text); }
int nam_dos2nam  (int* position, const char* text)           { return ScanToName     ('\\', position, text); }
int nam_dos2end  (int* position, const char* text)           { return ScanToEnd      ('\\', position, text); }
int nam_nfs2sep  (int* position, const char* text, unsigned) { return ScanToSeparator('/',  position, text); }
int nam_nfs2nam  (int* position, const char* text, unsigned) { return ScanToName     ('/',  position, text); }
int nam_nfs2end  (int* position, const char* text, unsigned) { return ScanToEnd      ('/',  position, text); }
int nam_win322sep(int* position, const char* text)           { return ScanToSeparator('\\', position, text); }
int nam_win322nam(int* position, const char* text)           { return ScanToName     ('\\', position, text); }
int nam_win322end(int* position, const char* text)           { return ScanToEnd      ('\\', position, text); }
int nam_as4002sep(int* position, const char* text)           { return ScanToSeparator('/',  position, text); }
int nam_as4002nam(int* position, const char* text)           { return ScanToName     ('/',  position, text); }
int nam_as4002end(int* position, const char* text)           { return ScanToEnd      ('/',  position, text); }
int nam_mxd2sep  (int* position, const char* text)           { return ScanToSeparator('\\', position, text); }
int nam_mxd2nam  (int* position, const char* text)           { return ScanToName     ('\\', position, text); }
int nam_mxd2end  (int* position, const char* text)           { return ScanToEnd      ('\\', position, text); }
// clang-format on

bool nam_fmtmatch(int syntax, const char* name, const char* pattern) {
    const char separator = SeparatorOf(syntax);
    std::string_view names = name;
    std::string_view patterns = pattern;
    for (;;) {
        const std::size_t nameEnd = names.find(separator);
        const std::size_t patternEnd = patterns.find(separator);
        if (!MatchElement(names.substr(0, nameEnd), patterns.substr(0, patternEnd))) {
            return false;
        }
        if (nameEnd == std::string_view::npos || patternEnd == std::string_view::npos) {
            return nameEnd == patternEnd;
        }
        names.remove_prefix(nameEnd + 1);
        patterns.remove_prefix(patternEnd + 1);
    }
}
