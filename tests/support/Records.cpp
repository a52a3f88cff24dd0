#include "tests/support/Records.h"

#include <map>
#include <regex>
#include <sstream>
#include <string_view>

#include <expat.h>

namespace {

/// A record while it is being parsed.
struct Reading {
    std::string text;
    bool isSound = true;
};

/// 1970 is what a clock shows that was never read.
bool IsTime(const std::string& text) {
    static const std::regex time(R"((?!1970)\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.[ \d]\d\+00:00)");
    return std::regex_match(text, time);
}

void OnStart(void* data, const XML_Char* name, const XML_Char** attribute) {
    auto& reading = *static_cast<Reading*>(data);
    const std::string_view element = name;
    std::map<std::string, std::string> attributes;
    for (; *attribute != nullptr; attribute += 2) {
        attributes[attribute[0]] = attribute[1];
    }
    if (element == "M") {
        reading.text += attributes["C"] + ' ' + attributes["ID"] + ' ' + attributes["S"];
        reading.isSound = reading.isSound && attributes.size() == 4 && IsTime(attributes["T"]);
    } else if (element == "P") {
        reading.text += " [";
        reading.isSound = reading.isSound && attributes.size() == 1 && attributes.count("T") == 1;
    } else {
        reading.isSound = reading.isSound && element == "PS" && attributes.empty();
    }
}

void OnEnd(void* data, const XML_Char* name) {
    static_cast<Reading*>(data)->text += std::string_view(name) == "P" ? "]" : "";
}

void OnText(void* data, const XML_Char* text, int length) {
    static_cast<Reading*>(data)->text.append(text, static_cast<std::size_t>(length));
}

std::string Record(const std::string& line) {
    Reading reading;
    const XML_Parser parser = XML_ParserCreate("UTF-8");
    XML_SetUserData(parser, &reading);
    XML_SetElementHandler(parser, OnStart, OnEnd);
    XML_SetCharacterDataHandler(parser, OnText);
    const bool isParsed = XML_Parse(parser, line.data(), static_cast<int>(line.size()), 1) == XML_STATUS_OK;
    XML_ParserFree(parser);
    return isParsed && reading.isSound ? reading.text : "?" + line;
}

} // namespace

std::vector<std::string> Records(const std::string& log) {
    std::vector<std::string> records;
    std::istringstream lines(log);
    for (std::string line; std::getline(lines, line);) {
        records.push_back(Record(line));
    }
    return records;
}
