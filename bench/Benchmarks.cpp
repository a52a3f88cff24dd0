#include "Mis/TaskData.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <numeric>
#include <random>

namespace {

/// Thousands of the keys whose names have three digits.
constexpr int families[] = {31, 32, 33, 35, 36, 37, 51, 52, 53, 54, 55, 56, 57, 58, 59, 60, 61, 62,
                            63, 64, 65, 66, 67, 81, 82, 83, 84, 85, 86, 87, 88, 91, 92, 93, 94};

/// The keys come in no order, so that sorting has work to do.
std::string DistinctKeys(std::size_t count) {
    std::vector<std::string> lines(count);
    for (std::size_t i = 0; i < count; ++i) {
        const int key = 1000 * families[i % std::size(families)] + static_cast<int>(i / std::size(families));
        VTaskData::GetKeyName(key, lines[i], 671, 1);
        lines[i] += " = some text of a usual length\r\n";
    }
    std::shuffle(lines.begin(), lines.end(), std::mt19937(1));
    return std::accumulate(lines.begin(), lines.end(), std::string("QXCVersion = 650\r\nType = 1\r\n"));
}

void Load(benchmark::State& state) {
    std::string text = DistinctKeys(static_cast<std::size_t>(state.range(0)));
    for ([[maybe_unused]] auto _ : state) {
        VTaskData data("", true);
        benchmark::DoNotOptimize(data.Deserialize(text, false));
    }
}
BENCHMARK(Load)->Arg(200)->Arg(1000)->Arg(2000)->Arg(20000)->Arg(35000);

void Save(benchmark::State& state) {
    std::string text = DistinctKeys(static_cast<std::size_t>(state.range(0)));
    for ([[maybe_unused]] auto _ : state) {
        state.PauseTiming();
        VTaskData data("", true);
        data.Deserialize(text, false);
        std::string saved;
        state.ResumeTiming();
        benchmark::DoNotOptimize(data.Serialize(saved));
    }
}
BENCHMARK(Save)->Arg(200)->Arg(1000)->Arg(2000)->Arg(20000)->Arg(35000);

} // namespace
