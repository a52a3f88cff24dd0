#include "Mis/VString.h"

#include <cassert>
#include <fuzzer/FuzzedDataProvider.h>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* bytes, std::size_t size) {
    FuzzedDataProvider input(bytes, size);
    VString text;
    std::string model;
    while (input.remaining_bytes() > 0 && model.size() < 9999) {
        const char c = input.ConsumeIntegralInRange<char>(1, 127);
        const int n = input.ConsumeIntegralInRange(0, text.GetLength());
        const VString other(input.ConsumeBool() ? text : VString(c, n)); // often shares the block
        const std::string before(other);
        const auto at = static_cast<std::size_t>(n);
        // clang-format off
        switch (input.ConsumeIntegralInRange(0, 6)) {
        case 0:  text = &text[n];                     model.erase(0, at); break;
        case 1:  text += &text[n];                    model += model.substr(at); break;
        case 2:  text += c;                           model += c; break;
        case 3:  text = text.Left(n) + other;         model.replace(at, model.npos, before); break;
        case 4:  text = other.Right(n) + text.Mid(n); model.replace(0, at, before.substr(before.size() - at)); break;
        case 5:  text.TrimLeft();                     model.erase(0, model.find_first_not_of(" \t\v\f\r\n")); break;
        default: text.TrimRight();                    model.erase(model.find_last_not_of(" \t\v\f\r\n") + 1); break;
        }
        // clang-format on
        assert(text.GetLength() == static_cast<int>(model.size()) && model == std::string(text));
        assert(before == std::string(other));
    }
    return 0;
}
