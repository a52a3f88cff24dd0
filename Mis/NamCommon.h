#pragma once

#include "Mis/VObject.h"
#include "Mis/VString.h"

#include <string>

/// Names and the syntaxes that they are written in. A syntax is a small number; one that is not in the table of
/// NamCommon.cpp is an error of the caller: an assertion, and in GetParentPath the integer 0 as an exception.

/// The syntax of names on this system: 2, that of Unix.
constexpr int sidf_get_ns() noexcept {
    return 2;
}
extern int SIDF_LCL_NS;

/// A file or directory name together with its syntax.
class VFileName : public VObject {
public:
    /// The syntax -1 stands for the local one. Null is the empty name.
    VFileName(const char* name, int syntax, bool isDirectory);
    VFileName(const VString& name, int syntax, bool isDirectory);
    VFileName(const std::string& name, int syntax, bool isDirectory);

    /// Takes the name over; a directory's name is made to end in the separator, but for the mixed syntax.
    void Initialize(const VString& name, int syntax, bool isDirectory);

    char GetPathSeparator() const;

    /// The text before the last separator, or with `hasTrailingSeparator` before the last but one; empty when there is
    /// none, and for a name directly below the root.
    VString GetParentPath(bool hasTrailingSeparator) const;

    /// The numbers 8 and 14 stand for the file name without its directory; any other part is empty. `length`, unless
    /// null, receives the length. The flags play no part.
    VString GetPart(int part, int* length, bool, bool, bool);

    const VString& GetName() const noexcept { return m_name; }

private:
    VString m_name;
    int m_syntax = 0;
};

/// Scanners. Each looks into `text` from its start and sets `*position`: 2sep to the next separator, 2nam to the start
/// of the next name element, 2end to the end of the element that starts there. Returns: 1 when there is one. Otherwise
/// 0, with `*position` at the end of the text for 2sep and 2nam, and at 0, where the empty element is, for 2end.
int nam_fmt2sep(int syntax, int* position, const char* text);
int nam_fmt2nam(int syntax, int* position, const char* text);
int nam_fmt2end(int syntax, int* position, const char* text);

int nam_dos2sep(int* position, const char* text);
int nam_dos2nam(int* position, const char* text);
int nam_dos2end(int* position, const char* text);
int nam_nfs2sep(int* position, const char* text, unsigned options);
int nam_nfs2nam(int* position, const char* text, unsigned options);
int nam_nfs2end(int* position, const char* text, unsigned options);
int nam_win322sep(int* position, const char* text);
int nam_win322nam(int* position, const char* text);
int nam_win322end(int* position, const char* text);
int nam_as4002sep(int* position, const char* text);
int nam_as4002nam(int* position, const char* text);
int nam_as4002end(int* position, const char* text);
int nam_mxd2sep(int* position, const char* text);
int nam_mxd2nam(int* position, const char* text);
int nam_mxd2end(int* position, const char* text);

/// True when all of `name` matches `pattern`, in which "*" stands for any text and "?" for one character of an element,
/// neither for a separator; the element "*.*" matches names without a dot, too.
bool nam_fmtmatch(int syntax, const char* name, const char* pattern);
