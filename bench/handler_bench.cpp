// The cost of the method "list", its answer written, against the floor: jsoncpp filling one scratch
// object for each record, appending it by copy, and writing the array.
#include <string>

#include <benchmark/benchmark.h>
#include <json/json.h>

#include "zevo/api_request.h"
#include "zevo/api_response.h"

#include "api/api_table.h"
#include "bench/connections_double.h"
#include "bench/peak_memory.h"

namespace {

std::size_t listAll(int limit) {
  ZEVO::RequestContext context;
  context.loginUserName = "admin";
  context.isAdmin = true;
  context.sessionFilePath = "/nonexistent";
  if (limit > 0) context.parameters["limit"] = limit;
  ZEVO::APIRequest request(context);
  ZEVO::APIResponse response;
  CurrentConnectionEnum(&request, &response);
  return response.DataText().size();
}

void fillScratch(const _tag_ZEVO_CURCONN_& record, Json::Value& scratch) {
  scratch["time"] = record.time;
  scratch["who"] = record.user;
  scratch["from"] = record.from;
  scratch["type"] = "CIFS";
  scratch["descr"] = record.descr;
  scratch["pid"] = static_cast<unsigned>(record.pid);
  scratch["user_can_be_disabled"] = true;
  scratch["can_be_kicked"] = true;
}

std::size_t writeFloor(std::size_t count) {
  Json::Value items(Json::arrayValue);
  Json::Value scratch;
  for (std::size_t i = 0; i < count; ++i) {
    fillScratch(bench::preparedConnections()[i], scratch);
    items.append(scratch);
  }
  return Json::FastWriter().write(items).size();
}

void handlerAllRecords(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  for (auto _ : state) {
    state.PauseTiming();
    bench::prepareConnections(count);
    state.ResumeTiming();
    benchmark::DoNotOptimize(listAll(0));
  }
  bench::prepareConnections(count);
  state.counters["peak_MiB"] = bench::peakGrowthMiB([] { benchmark::DoNotOptimize(listAll(0)); });
}

void handlerPageOfFifty(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    bench::prepareConnections(static_cast<std::size_t>(state.range(0)));
    state.ResumeTiming();
    benchmark::DoNotOptimize(listAll(50));
  }
}

void floorAllRecords(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  bench::prepareConnections(count);
  for (auto _ : state) benchmark::DoNotOptimize(writeFloor(count));
  state.counters["peak_MiB"] =
      bench::peakGrowthMiB([count] { benchmark::DoNotOptimize(writeFloor(count)); });
}

}  // namespace

BENCHMARK(floorAllRecords)->RangeMultiplier(10)->Range(1000, 100000)->Unit(benchmark::kMillisecond);
BENCHMARK(handlerAllRecords)
    ->RangeMultiplier(10)
    ->Range(1000, 100000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(handlerPageOfFifty)->Arg(100000)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
