#pragma once

#include <string>
#include <string_view>

/// The line syntax of a task-data text: comments, continued lines, sections, keys with values. Knows no key.
///
///     physical = text [ "//" comment ]
///     logical  = { physical `"-` } physical      each further one begins with `"`
///     line     = section "{" | "}" | key "=" value
///
/// An unfinished logical line is lost when the next line does not begin with a quote, and at the end of the text.
class TaskReader {
public:
    enum class Line {
        done, ///< no key: empty, unfinished, or the start or end of a section
        key,  ///< Name() and Value() hold it
        bad,  ///< neither of these
    };

    /// Goes back to the start of a text.
    void Reset();

    /// Takes the next physical line, without its line end.
    Line Next(std::string_view physical);

    /// Drops an unfinished line and gives back the memory that long lines took. Open sections stay open.
    void EndText();

    /// The names of the open sections and of the key, joined by ".". Valid until the next call.
    std::string_view Name() const noexcept { return m_name; }
    /// The value without surrounding white space and joints. Valid until the next call and as long as the line.
    std::string_view Value() const noexcept { return m_value; }

private:
    Line Complete(std::string_view logical);
    void CloseSection();
    std::string_view RemoveJoints(std::string_view value, std::string_view logical);

    std::string m_pendingLine;      ///< a logical line that goes on
    std::string m_logicalLine;      ///< one that was put together from several, or a value whose joints are removed
    std::string m_name;             ///< each open section's name and a ".", then that of the key
    std::size_t m_prefixLength = 0; ///< what of it belongs to the sections
    std::string_view m_value;
};
