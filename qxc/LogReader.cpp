#include "qxc/LogReader.h"

#include "MessageLIB/Message.h"

#include <charconv>
#include <map>
#include <memory>
#include <new>
#include <system_error>
#include <type_traits>
#include <utility>

#include <expat.h>

namespace {

/// Where the elements of a record stand: M, PS, P.
enum Depth { depthRecord = 1, depthParameter = 3 };

struct Reading {
    LogRecord record;
    int depth = 0;
    bool isRecord = false;
};

/// Returns: true when all that a record must have is there.
bool TakeAttributes(const XML_Char** attribute, LogRecord& record) {
    using I18NMessage::Message;
    std::map<std::string, std::string> values;
    for (; *attribute != nullptr; attribute += 2) {
        values[attribute[0]] = attribute[1];
    }
    const std::string number = values["ID"];
    const char* end = number.data() + number.size();
    const std::string severity = values["S"];
    record.module = values["C"];
    record.severity = severity.c_str()[0];
    record.time = values["T"];
    if (const std::size_t blank = record.time.find(". "); blank != std::string::npos) {
        record.time[blank + 1] = '0';
    }
    const auto parsed = std::from_chars(number.data(), end, record.number);
    return parsed.ec == std::errc() && parsed.ptr == end && !record.time.empty() && severity.size() == 1 &&
           Message::ToSeverityChar(Message::FromSeverityChar(record.severity)) == record.severity;
}

void OnStart(void* data, const XML_Char* element, const XML_Char** attribute) {
    auto& reading = *static_cast<Reading*>(data);
    ++reading.depth;
    const std::string_view name = element;
    if (reading.depth == depthRecord) {
        reading.isRecord = name == I18NMessage::tag_message && TakeAttributes(attribute, reading.record);
    } else if (reading.depth == depthParameter && name == I18NMessage::tag_param) {
        reading.record.parameters.emplace_back();
    }
}

void OnEnd(void* data, const XML_Char* /*element*/) {
    --static_cast<Reading*>(data)->depth;
}

/// The text of a record inside of a parameter is taken as well.
void OnText(void* data, const XML_Char* text, int length) {
    auto& reading = *static_cast<Reading*>(data);
    if (reading.depth >= depthParameter && !reading.record.parameters.empty()) {
        reading.record.parameters.back().append(text, static_cast<std::size_t>(length));
    }
}

} // namespace

std::optional<LogRecord> readRecord(std::string_view line) {
    const std::unique_ptr<std::remove_pointer_t<XML_Parser>, decltype(&XML_ParserFree)> parser(
        XML_ParserCreate("UTF-8"), XML_ParserFree);
    if (parser == nullptr) {
        throw std::bad_alloc();
    }
    Reading reading;
    XML_SetUserData(parser.get(), &reading);
    XML_SetElementHandler(parser.get(), OnStart, OnEnd);
    XML_SetCharacterDataHandler(parser.get(), OnText);
    const bool isXml = XML_Parse(parser.get(), line.data(), static_cast<int>(line.size()), 1) == XML_STATUS_OK;
    // A line with another beginning could hold a DOCTYPE, by which references stand for anything.
    return isXml && reading.isRecord && line.starts_with("<M ") ? std::optional(std::move(reading.record))
                                                                : std::nullopt;
}
