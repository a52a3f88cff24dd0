#include "Mis/VString.h"

#include <cassert>
#include <fuzzer/FuzzedDataProvider.h>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* bytes, std::size_t size) {
    constexpr const char* blanks = " \t\v\f\r\n";
    FuzzedDataProvider input(bytes, size);
    VString texts[2];
    std::string models[2];
    while (input.remaining_bytes() > 0 && models[0].size() + models[1].size() < 9999) {
        const bool target = input.ConsumeBool();
        const bool source = input.ConsumeBool();
        VString& a = texts[target];
        const VString& b = texts[source];
        const int n = input.ConsumeIntegralInRange(0, b.GetLength());
        std::string& model = models[target];
        const std::string head = models[source].substr(0, static_cast<std::size_t>(n));
        const std::string tail = models[source].substr(head.size());
        const char c = input.ConsumeIntegralInRange<char>(1, 127);
        assert(a.Find(&b[n]) == static_cast<int>(model.find(tail)));
        // clang-format off
        switch (input.ConsumeIntegralInRange(0, 12)) {
        case 0:  a = b;                     model = head + tail; break;
        case 1:  a = &b[n];                 model = tail; break;
        case 2:  a += &b[n];                model += tail; break;
        case 3:  a += b;                    model += head + tail; break;
        case 4:  a += c;                    model += c; break;
        case 5:  a = b.Left(n) + c;         model = head + c; break;
        case 6:  a = b.Mid(n) + a;          model.insert(0, tail); break;
        case 7:  a = b.Right(n) + VString(c, n); model = (head + tail).substr(tail.size()) + std::string(head.size(), c); break;
        case 8:  a.TrimLeft();              model.erase(0, model.find_first_not_of(blanks)); break;
        case 9:  a.TrimRight();             model.erase(model.find_last_not_of(blanks) + 1); break;
        case 10: a.GetBuffer(c)[0] = c;     a.ReleaseBuffer(1); model = c; break;
        case 11: a.GetBuffer(c);            break;
        default: a.Empty();                 model.clear(); break;
        }
        // clang-format on
        assert(a.GetLength() == static_cast<int>(model.size()) && model == std::string(texts[target]));
        assert(models[!target] == std::string(texts[!target]));
    }
    return 0;
}
