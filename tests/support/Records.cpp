#include "tests/support/Records.h"

#include <map>
#include <regex>
#include <sstream>

#include <expat.h>

namespace {

/// A record while it is being parsed.
struct Reading {
    std::string text;
    bool isRecord = true;
};

void OnStart(void* data, const XML_Char* element, const XML_Char** attribute) {
    // A time in 1970 comes from a clock that was never read.
    static const std::regex time(R"((?!1970)\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.[ \d]\d\+00:00)");
    auto& reading = *static_cast<Reading*>(data);
    const std::string name = element;
    std::map<std::string, std::string> values;
    for (; *attribute != nullptr; attribute += 2) {
        values[attribute[0]] = attribute[1];
    }
    if (name == "M") {
        reading.text += values["C"] + ' ' + values["ID"] + ' ' + values["S"];
        reading.isRecord = reading.isRecord && values.size() == 4 && std::regex_match(values["T"], time);
    } else {
        reading.text += name == "P" ? " [" : "";
        reading.isRecord = reading.isRecord && name == (values.count("T") == 1 ? "P" : "PS");
    }
}

void OnEnd(void* data, const XML_Char* element) {
    static_cast<Reading*>(data)->text += std::string(element) == "P" ? "]" : "";
}

void OnText(void* data, const XML_Char* text, int length) {
    static_cast<Reading*>(data)->text.append(text, static_cast<std::size_t>(length));
}

} // namespace

std::vector<std::string> Records(const std::string& log) {
    std::vector<std::string> records;
    std::istringstream lines(log);
    for (std::string line; std::getline(lines, line);) {
        Reading reading;
        const XML_Parser parser = XML_ParserCreate("UTF-8");
        XML_SetUserData(parser, &reading);
        XML_SetElementHandler(parser, OnStart, OnEnd);
        XML_SetCharacterDataHandler(parser, OnText);
        const bool isXml = XML_Parse(parser, line.data(), static_cast<int>(line.size()), 1) == XML_STATUS_OK;
        XML_ParserFree(parser);
        records.push_back(isXml && reading.isRecord ? reading.text : "?" + line);
    }
    return records;
}
