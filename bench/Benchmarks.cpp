#include "MessageLIB/Message.h"
#include "Mis/KeyTable.h"
#include "Mis/TaskData.h"
#include "Mis/VString.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <iterator>
#include <numeric>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int version = 671;
constexpr int type = 1;
constexpr const char* header = "BuildVersion = 6.50.1804\r\nQXCVersion = 650\r\nType = 1\r\n";
constexpr const char* section = "Server0 {\r\n  Name = vault1\r\n  Net_Address = vault1.example.com\r\n"
                                "  Transport = TCP\r\n  Password = 6A1F00C94D7722E1\r\n  Reconnect_Attempts = 180\r\n"
                                "  Encrypted = TRUE\r\n  Username = north\r\n  BufferSize = 65536\r\n}\r\n";
constexpr int linesOfSection = 10;

/// Numbers of the names with three digits, each of which stands for a thousand keys.
constexpr int families[] = {31000, 32000, 33000, 35000, 36000, 37000, 51000, 52000, 53000, 54000, 55000, 56000,
                            57000, 58000, 59000, 60000, 61000, 62000, 63000, 64000, 65000, 66000, 67000, 81000,
                            82000, 83000, 84000, 85000, 86000, 87000, 88000, 91000, 92000, 93000, 94000};

int DistinctKey(int number) {
    constexpr int count = std::size(families);
    return families[number % count] + number / count;
}

std::string RepeatedKeys(int lines) {
    std::string text = header;
    for (int i = 0; i < lines / linesOfSection; ++i) {
        text += section;
    }
    return text;
}

/// The keys come in no order, so that sorting has work to do.
std::string DistinctKeys(int count) {
    std::vector<std::string> lines;
    for (int i = 0; i < count; ++i) {
        std::string name;
        VTaskData::GetKeyName(DistinctKey(i), name, version, type);
        lines.push_back(name + " = some text of a usual length\r\n");
    }
    std::shuffle(lines.begin(), lines.end(), std::mt19937(1));
    return std::accumulate(lines.begin(), lines.end(), std::string(header));
}

void Load(benchmark::State& state, std::string (*makeText)(int)) {
    std::string text = makeText(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        VTaskData data("", true);
        benchmark::DoNotOptimize(data.Deserialize(text, false));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK_CAPTURE(Load, repeated, RepeatedKeys)->Arg(200)->Arg(2000)->Arg(20000);
BENCHMARK_CAPTURE(Load, distinct, DistinctKeys)->Arg(200)->Arg(1000)->Arg(2000)->Arg(20000)->Arg(35000);

void Save(VTaskData& data, int /*count*/) {
    std::string text;
    benchmark::DoNotOptimize(data.Serialize(text));
}

void Delete(VTaskData& data, int count) {
    for (int i = 0; i < count; ++i) {
        data.DeleteKey(DistinctKey(i));
    }
}

void Loaded(benchmark::State& state, void (*operation)(VTaskData&, int)) {
    const int count = static_cast<int>(state.range(0));
    std::string text = DistinctKeys(count);
    for (auto _ : state) {
        state.PauseTiming();
        VTaskData data("", true);
        data.Deserialize(text, false);
        state.ResumeTiming();
        operation(data, count);
    }
    state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK_CAPTURE(Loaded, save, Save)->Arg(200)->Arg(1000)->Arg(2000)->Arg(20000)->Arg(35000);
BENCHMARK_CAPTURE(Loaded, delete, Delete)->Arg(1000)->Arg(35000);

void LookupByName(benchmark::State& state, const char* name) {
    int index = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(KeyTable::Instance().FirstNamed(name, version, type, &index));
    }
}
BENCHMARK_CAPTURE(LookupByName, single, "Priority");
BENCHMARK_CAPTURE(LookupByName, indexed, "Software.Service123.Startup");

void LookupByNumber(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(KeyTable::Instance().LastNaming(static_cast<int>(state.range(0)), version, type));
    }
}
BENCHMARK(LookupByNumber)->Arg(107)->Arg(67123);

void ChangeString(benchmark::State& state) {
    const VString text("/opt/agent01/plugins/common");
    for (auto _ : state) {
        VString copy = text;
        copy += "/Global.qxc";
        copy.MakeUpper();
        benchmark::DoNotOptimize(copy.Find("GLOBAL"));
    }
}
BENCHMARK(ChangeString);

void RenderMessage(benchmark::State& state) {
    I18NMessage::Message message(4783, "PARS", I18NMessage::SeverityError, "agent/Global.qxc", 17, "a <line> & more");
    for (auto _ : state) {
        benchmark::DoNotOptimize(message.GetString());
    }
}
BENCHMARK(RenderMessage);

} // namespace
