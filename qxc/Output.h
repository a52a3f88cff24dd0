#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <string_view>

/// `text` for people: a control byte is shown as an escape such as \t or \x1B. All other bytes stay as they are.
std::string escaped(std::string_view text);

/// Writes a line to standard output. A failure shows in finishOutput.
void writeLine(std::string_view line);
/// Writes an object in one line. Bytes that are not UTF-8 become U+FFFD.
void writeObject(const nlohmann::ordered_json& object);
/// Writes out what is left. Returns: false, after saying why on standard error, when not all could be written.
bool finishOutput();

/// Writes a line to standard error.
void writeError(std::string_view line);
/// Says there what is wrong with a file or an argument.
void complain(std::string_view subject, std::string_view problem);
