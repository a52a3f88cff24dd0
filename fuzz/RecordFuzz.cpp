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
    record.AddParameter(MessageParameter(record));
    const std::string line = record.GetString();
    assert(line.find_first_of("\r\n") == line.size() - 1);

    const XML_Parser parser = XML_ParserCreate("UTF-8");
    assert(XML_Parse(parser, line.data(), static_cast<int>(line.size()), 1) == XML_STATUS_OK);
    XML_ParserFree(parser);
    return 0;
}
