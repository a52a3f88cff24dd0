#include "Mis/TaskData/TaskWriter.h"

#include "classlib/String.h"

#include <algorithm>
#include <cassert>

namespace {

constexpr std::string_view lineEnd = "\r\n";
constexpr std::size_t longestLine = 78;

void Indent(std::size_t depth, std::string& out) {
    constexpr std::size_t unit = 2;
    out.append(unit * depth, ' ');
}

/// Appends `text` to a line that has `used` characters already, breaks it where it gets too long, and ends it.
void WriteBroken(std::size_t used, std::string_view text, std::string& out) {
    assert(used <= longestLine);
    while (used + text.size() > longestLine) {
        const std::size_t room = longestLine - used;
        out += text.substr(0, room);
        out += "\"-\r\n\"";
        text.remove_prefix(room);
        used = 0;
    }
    out += text;
    out += lineEnd;
}

} // namespace

void TaskWriter::Reset() {
    m_open.clear();
}

void TaskWriter::Write(std::string_view name, std::string_view value, std::string& out) {
    const Parts parts = txccl::string::Split(name, '.');
    CloseSections(parts, out);
    OpenSections(parts, out);

    const std::size_t lineStart = out.size();
    Indent(parts.size() - 1, out);
    out += parts.back();
    out += " = ";
    WriteBroken(out.size() - lineStart, value, out);
    if (m_open.empty()) {
        out += lineEnd;
    }
}

/// Counts the levels of the key or of the open sections, whichever are more, and closes one section for each level
/// below the first that differs. When the key lies deeper than the open sections, that closes more than differ;
/// OpenSections opens those again.
void TaskWriter::CloseSections(const Parts& parts, std::string& out) {
    const std::size_t depth = parts.size() - 1;
    const std::size_t levels = std::max(depth, m_open.size());
    bool matching = true;
    for (std::size_t i = 0; i <= levels; ++i) {
        if (i > depth || !matching) {
            if (m_open.empty()) {
                return;
            }
            CloseInnermost(out);
            out += m_open.empty() ? "" : lineEnd;
        } else if (i < m_open.size() && parts[i] != m_open[i]) {
            matching = false;
        }
    }
}

void TaskWriter::OpenSections(const Parts& parts, std::string& out) {
    for (std::size_t level = m_open.size(); level + 1 < parts.size(); ++level) {
        Indent(level, out);
        out += parts[level];
        out += " {";
        out += lineEnd;
        m_open.emplace_back(parts[level]);
    }
}

void TaskWriter::CloseInnermost(std::string& out) {
    m_open.pop_back();
    Indent(m_open.size(), out);
    out += '}';
    out += lineEnd;
}

void TaskWriter::CloseAll(std::string& out) {
    if (m_open.empty()) {
        return;
    }
    while (!m_open.empty()) {
        CloseInnermost(out);
    }
    out += lineEnd;
}
