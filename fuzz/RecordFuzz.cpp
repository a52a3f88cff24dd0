#include "MessageLIB/Message.h"

#include <cassert>
#include <expat.h>
#include <fuzzer/FuzzedDataProvider.h>

using namespace I18NMessage;

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* bytes, std::size_t size) {
    FuzzedDataProvider input(bytes, size);
    const auto text = [&input] { return input.ConsumeRandomLengthString(40); };
    Message record(input.ConsumeIntegral<int>(), text(), MessageSeverity(input.ConsumeIntegral<int>()), text().c_str());
    record.SetOrigin(text());
    record.SetUserName(text());
    record.SetFunction(text());
    Message cause(record);
    record.AddChild(cause);
    record.AddParameter(MessageParameter(cause));
    const std::string line = record.GetString();
    assert(line.find_first_of("\r\n") == line.size() - 1);

    std::string elements;
    const XML_Parser parser = XML_ParserCreate("UTF-8");
    XML_SetUserData(parser, &elements);
    XML_SetStartElementHandler(
        parser, [](void* names, const char* name, const char**) { *static_cast<std::string*>(names) += name; });
    assert(XML_Parse(parser, line.data(), static_cast<int>(line.size()), 1) == XML_STATUS_OK);
    XML_ParserFree(parser);
    assert(elements == "MPSPPMPSPMSMPSP");
    return 0;
}
