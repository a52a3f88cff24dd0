#pragma once

#include <string>
#include <string_view>
#include <vector>

/// The writing side of the line syntax: keys in sections, indented by two spaces, key lines of 78 characters at most
/// before they are continued, CR LF ends.
class TaskWriter {
public:
    /// Forgets the open sections.
    void Reset();

    /// Appends the lines of one key: those that close and open sections, and its own. `name` is dotted; a key without a
    /// name is a bare value. REQUIRES: a name that leaves room for the value on its line, as all in the key table do.
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
