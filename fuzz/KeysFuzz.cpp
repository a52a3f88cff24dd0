#include "Mis/TaskData.h"
#include "classlib/String.h"

#include <algorithm>
#include <cassert>
#include <fuzzer/FuzzedDataProvider.h>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* bytes, std::size_t size) {
    FuzzedDataProvider input(bytes, size);
    const int version = input.ConsumeIntegralInRange(99, 673);
    const int type = input.ConsumeIntegral<int>();
    int key = input.ConsumeBool() ? input.ConsumeIntegral<int>() : input.ConsumeIntegralInRange(-1, 100000);
    const std::string name = input.ConsumeRandomLengthString(40);

    const std::string cropped(txccl::string::CropEnd(name));
    int index = 0;
    const _TOInfo* row = std::find_if(taskOptions, taskOptions + taskOptionCount, [&](const _TOInfo& each) {
        return each.IsLegal(version, type) && VTaskData::KeyMatch(cropped.c_str(), each.keyName, &index);
    });
    const bool found = VTaskData::GetKeyID(name, &key, version, type) == 1;
    assert(found ? key == row->id + index : row->id == 0);
    std::string text;
    const bool named = VTaskData::GetKeyName(key, text, version, type) == 1;
    assert(named ? VTaskData::GetKeyID(text, &index, version, type) == 1 && index == key : !found);
    return 0;
}
