#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Reads the line syntax of a task-data text: comments, continued lines, sections, keys with values. Which keys there
/// are is no concern of it.
///
///     physical = text [ "//" comment ]
///     logical  = { physical `"-` } physical      all but the first begin with `"`
///     line     = section "{" | "}" | key "=" value
///
/// A logical line that goes on is dropped when the next line that is not empty does not begin with a quote, or the text
/// ends.
class TaskReader {
public:
    enum class Line {
        done, ///< no key: an empty line, one that goes on, or the start or end of a section
        key,  ///< a key, in Name() and Value()
        bad,  ///< not in the syntax
    };

    /// Goes back to the start of a text of this length.
    void Reset(std::size_t textLength);

    /// Takes the next physical line, without its line end.
    Line Next(std::string_view physical);

    /// Drops a line that goes on, and frees the memory that long lines took. Open sections stay open.
    void EndText();

    /// The names of the open sections and of the key, joined by ".". Valid until the next call.
    std::string_view Name() const noexcept { return m_name; }
    /// The value without surrounding white space and without joints. Valid until the next call, and only as long as the
    /// physical line is.
    std::string_view Value() const noexcept { return m_value; }
    /// The reader's own text in which the value lies, null when it lies in the physical line. The caller may take it
    /// instead of copying the value.
    std::string* ValueBuffer() noexcept;

private:
    Line Complete(std::string_view logical);
    void CloseSection();
    std::string_view RemoveJoints(std::string_view value, std::string_view logical);

    std::size_t m_textLength = 0;   ///< no logical line is longer
    std::string m_pendingLine;      ///< a logical line that goes on
    std::string m_logicalLine;      ///< one put together from several lines, or a value whose joints are removed
    std::string m_name;             ///< each open section's name and a ".", then that of the key
    std::size_t m_prefixLength = 0; ///< how much of m_name belongs to the sections
    std::string_view m_value;
};
