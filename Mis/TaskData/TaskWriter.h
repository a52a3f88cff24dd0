#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Writes the line syntax: keys in sections, indented by two spaces a level, lines that end in CR LF. A key line is
/// continued on the next after 78 characters, the quotes and hyphens that mark this not counted.
class TaskWriter {
public:
    /// Forgets the open sections.
    void Reset();

    /// Appends the lines of one key: those that close and open sections, and its own. `name` is the dotted name, which
    /// may be empty. REQUIRES: indent, name and " = " take at most 78 characters, as those of all keys in the key table
    /// do.
    void Write(std::string_view name, std::string_view value, std::string& out);

    /// Appends the lines that close all open sections.
    void CloseAll(std::string& out);

private:
    using Parts = std::vector<std::string_view>;

    void CloseSections(const Parts& parts, std::string& out);
    void OpenSections(const Parts& parts, std::string& out);
    void CloseInnermost(std::string& out);

    std::vector<std::string> m_open; ///< names of the open sections, outermost first
};
