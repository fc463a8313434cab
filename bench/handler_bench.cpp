// The cost of the method "list", its answer written, against the floor: jsoncpp filling one scratch
// object for each record, appending it by copy, and writing the array. Every row runs both by turns
// and reports the ratio of their processor times, since machines are noisy.
#include <cstring>
#include <functional>
#include <malloc.h>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <json/json.h>

#include "zevo/api_request.h"
#include "zevo/api_response.h"

#include "api/api_table.h"
#include "bench/connections_double.h"
#include "bench/measure.h"
#include "bench/peak_memory.h"

namespace {

// An answer as its caller gets it: what becomes of the text afterwards is the caller's affair.
using Answer = std::shared_ptr<void>;

Answer callList(int limit) {
  ZEVO::RequestContext context;
  context.loginUserName = "admin";
  context.isAdmin = true;
  context.sessionFilePath = "/nonexistent";
  if (limit > 0) context.parameters["limit"] = limit;
  ZEVO::APIRequest request(context);
  auto response = std::make_shared<ZEVO::APIResponse>();
  CurrentConnectionEnum(&request, response.get());
  return response;
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

Answer writeFloor(std::size_t count) {
  Json::Value items(Json::arrayValue);
  Json::Value scratch;
  for (std::size_t i = 0; i < count; ++i) {
    fillScratch(bench::preparedConnections()[i], scratch);
    items.append(scratch);
  }
  return std::make_shared<std::string>(Json::FastWriter().write(items));
}

// Each piece of work starts with a heap that the one before has not left in pieces, as a host's
// child does that serves one call.
double measure(const std::function<Answer()>& work) {
  malloc_trim(0);
  const double start = bench::processorSeconds();
  const Answer answer = work();
  return bench::processorSeconds() - start;
}

void againstFloor(benchmark::State& state, int limit) {
  const auto count = static_cast<std::size_t>(state.range(0));
  std::vector<double> floors;
  std::vector<double> handlers;
  for (auto _ : state) {
    bench::prepareConnections(count);
    floors.push_back(measure([count] { return writeFloor(count); }));
    handlers.push_back(measure([limit] { return callList(limit); }));
    state.SetIterationTime(handlers.back());
  }
  state.counters["floor_ms"] = bench::median(floors) * 1000;
  state.counters["ratio"] = bench::median(handlers) / bench::median(floors);
}

void allRecords(benchmark::State& state) {
  againstFloor(state, 0);
  const std::string count = std::to_string(state.range(0));
  const double floor = bench::peakGrowthMiB({"floor", count});
  state.counters["floor_MiB"] = floor;
  state.counters["memory_ratio"] = bench::peakGrowthMiB({"handler", count}) / floor;
}

void pageOfFifty(benchmark::State& state) {
  againstFloor(state, 50);
}

// The piece of work that peakGrowthMiB asks a fresh process for.
void runNamed(const std::vector<std::string>& work) {
  const std::size_t count = std::strtoul(work[1].c_str(), nullptr, 10);
  bench::prepareConnections(count);
  bench::resetPeak();
  const Answer answer = work[0] == "floor" ? writeFloor(count) : callList(0);
}

}  // namespace

BENCHMARK(allRecords)
    ->RangeMultiplier(10)
    ->Range(1000, 100000)
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->MinTime(3);
BENCHMARK(pageOfFifty)->Arg(100000)->Unit(benchmark::kMillisecond)->UseManualTime()->MinTime(2);

int main(int argc, char** argv) {
  if (bench::runPeakWork(argc, argv, runNamed)) return 0;
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
}
