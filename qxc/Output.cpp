#include "qxc/Output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <nlohmann/json.hpp>

namespace {

/// The error number of the first failure to write.
int outputError = 0;

void Write(std::string_view text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) < text.size() && outputError == 0) {
        outputError = errno;
    }
}

void Flush() {
    if (std::fflush(stdout) != 0 && outputError == 0) {
        outputError = errno;
    }
}

std::string Escape(unsigned char byte) {
    switch (byte) {
    case '\t': return "\\t";
    case '\n': return "\\n";
    case '\r': return "\\r";
    default: break;
    }
    constexpr const char* digits = "0123456789ABCDEF";
    return {'\\', 'x', digits[byte >> 4U], digits[byte & 15U]};
}

} // namespace

std::string escaped(std::string_view text) {
    constexpr unsigned char firstPrinted = 0x20;
    constexpr unsigned char deleteByte = 0x7F;
    std::string shown;
    shown.reserve(text.size());
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < firstPrinted || byte == deleteByte) {
            shown += Escape(byte);
        } else {
            shown += c;
        }
    }
    return shown;
}

void writeLine(std::string_view line) {
    Write(line);
    Write("\n");
}

void writeObject(const nlohmann::ordered_json& object) {
    writeLine(object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace));
}

bool finishOutput() {
    Flush();
    if (outputError != 0) {
        complain("standard output", std::strerror(outputError));
    }
    return outputError == 0;
}

void writeError(std::string_view line) {
    // Where both streams go to one place, the lines stay in order.
    Flush();
    std::fputs((std::string(line) + "\n").c_str(), stderr);
}

void complain(std::string_view subject, std::string_view problem) {
    writeError("qxc: " + escaped(subject) + ": " + escaped(problem));
}
