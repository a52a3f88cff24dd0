#include "Mis/TaskData.h"
#include "classlib/String.h"

#include <cassert>
#include <fuzzer/FuzzedDataProvider.h>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* bytes, std::size_t size) {
    FuzzedDataProvider input(bytes, size);
    const int version = input.ConsumeIntegralInRange(99, 673);
    const int type = input.ConsumeIntegral<int>();
    const int number = input.ConsumeBool() ? input.ConsumeIntegral<int>() : input.ConsumeIntegralInRange(-1, 100000);
    const std::string name = input.ConsumeRandomLengthString(40);
    const std::string value = input.ConsumeRandomLengthString(40);

    const std::string cropped(txccl::string::CropEnd(name));
    int index = 0;
    const _TOInfo* row = taskOptions;
    while (row->id != 0 &&
           !(row->IsLegal(version, type) && VTaskData::KeyMatch(cropped.c_str(), row->keyName, &index))) {
        ++row;
    }
    int key = 0;
    const bool found = VTaskData::GetKeyID(name, &key, version, type) == 1;
    assert(found ? key == row->id + index : row->id == 0);
    std::string text;
    assert(!found || VTaskData::GetKeyName(key, text, version, type) == 1);
    assert(VTaskData::GetKeyName(number, text, version, type) == 0 ||
           (VTaskData::GetKeyID(text, &index, version, type) == 1 && index == number));

    VTaskData data("", true);
    data.SetVersion(version);
    data.SetType(type);
    for (const int each : {number, key}) {
        unsigned mask = 0;
        assert((data.IsValidEntry(each, value) ? 1 : 0) == data.SetRaw(each, value, true));
        assert(data.GetMask(each, &mask) == 0 || data.SetMask(each, mask, true) == 1);
        assert(data.GetEnum(each, &index) == 0 || data.SetEnum(each, index, true) == 1);
        assert(data.GetNumeric(each, &index) == 0 || data.SetNumeric(each, index, true) == 1);
    }
    return 0;
}
