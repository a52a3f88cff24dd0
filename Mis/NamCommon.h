#pragma once

#include "Mis/VObject.h"
#include "Mis/VString.h"

#include <string>

/// Names and the syntaxes that they are written in. A syntax is a small number. One that is not in the table of
/// NamCommon.cpp fails an assertion where a separator is needed; GetParentPath throws the integer 0 instead, and a
/// VFileName can be made with it.

/// The syntax of names on this system: 2, Unix.
constexpr int sidf_get_ns() noexcept {
    return 2;
}
extern int SIDF_LCL_NS;

/// A file or directory name together with its syntax.
class VFileName : public VObject {
public:
    /// Makes the name as Initialize does. Null is the empty name.
    VFileName(const char* name, int syntax, bool isDirectory);
    VFileName(const VString& name, int syntax, bool isDirectory);
    VFileName(const std::string& name, int syntax, bool isDirectory);

    /// Sets name and syntax; the syntax -1 stands for the local one. The name of a directory is made to end in the
    /// separator, except in the mixed syntax (119).
    void Initialize(const VString& name, int syntax, bool isDirectory);

    char GetPathSeparator() const;

    /// The text before the last separator, or before the last but one with `hasTrailingSeparator`. Empty when there is
    /// none, and for a name directly below the root.
    VString GetParentPath(bool hasTrailingSeparator) const;

    /// Part numbers 8 and 14 are the file name without its directory; any other is empty. `length`, unless null,
    /// receives the length. The flags are ignored.
    VString GetPart(int part, int* length, bool, bool, bool);

    const VString& GetName() const noexcept { return m_name; }

private:
    VString m_name;
    int m_syntax = 0;
};

/// Scanners. Each scans `text` from its start and sets `*position`: 2sep to the first separator, 2nam to the start of
/// the first name element, 2end to the end of the element at the start. Returns: 1 when there is one. Otherwise 0, and
/// `*position` is the end of the text for 2sep and 2nam, and 0 for 2end.
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

/// True when all of `name` matches `pattern`. In it "*" stands for any text and "?" for one character, but neither for
/// a separator. The element "*.*" matches names without a dot, too.
bool nam_fmtmatch(int syntax, const char* name, const char* pattern);
