#include "tests/support/RoundTrip.h"

#include <cassert>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* bytes, std::size_t size) {
    std::string text(bytes, bytes + size);
    VTaskData data("", true);
    const bool accepted = data.Deserialize(text, false);
    assert(accepted == (data.GetErrorCause() == TaskRefusal::none));
    const auto lines = std::count(text.begin(), text.end(), '\n') + 1;
    assert(accepted ? RoundTrips(data) : data.GetErrorLine() <= lines && (data.GetErrorLine() > 0 || size == 0));
    return 0;
}
