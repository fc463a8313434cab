// The cost of ending connections.
//
// Web logins: finding and removing them in the session file through the real platform, against the
// floor, one rewrite of the same file in the same safe way; what requests add that match none of
// them. Service connections: checking and signalling a list of 1,000 against one of 100, a
// connection.
#include <functional>
#include <list>
#include <signal.h>
#include <string>
#include <string_view>
#include <vector>

#include <benchmark/benchmark.h>

#include "zevo/api_request.h"

#include "base/atomic_file.h"
#include "bench/measure.h"
#include "bench/processes_double.h"
#include "bench/session_file.h"
#include "enforce/http_kick.h"
#include "enforce/kill_sessions.h"

namespace {

constexpr double kMicroseconds = 1e6;
constexpr std::uint32_t kFirstPid = 20000;

const bench::SessionFile& sessionFile() {
  static const bench::SessionFile file;
  return file;
}

// Ends `count` of `lines` logins as kick_connection does. The parts' costs on their own.
struct LoginCosts {
  bench::Costs whole;
  bench::Costs find;
  bench::Costs floor;
};

bool endLogins(std::size_t lines, std::size_t count, LoginCosts* costs) {
  const bench::SessionFile& file = sessionFile();
  ZEVO::RequestContext context;
  context.sessionFilePath = file.path();
  ZEVO::APIRequest request(context);
  const std::string text = file.fill(lines, count);
  const std::string_view piece = text;
  bool done = true;
  costs->floor.run([&] {
    done = !zevo::replaceFile(file.path(), {&piece, 1}, {.removeLeftovers = true});
  });
  std::list<HttpKickSession> found = bench::SessionFile::requests(lines, count);
  costs->find.run([&] { done = ReadHttpKickSessions(&request, found) && done; });
  std::list<HttpKickSession> ended = bench::SessionFile::requests(lines, count);
  costs->whole.run([&] {
    done = ReadHttpKickSessions(&request, ended) && done;
    done = RemoveHttpKickSessions(&request, ended) && done;
  });
  return done && file.lines() == lines - count;
}

void logins(benchmark::State& state) {
  const auto lines = static_cast<std::size_t>(state.range(0));
  const auto count = static_cast<std::size_t>(state.range(1));
  LoginCosts costs;
  for (auto _ : state) {
    if (!endLogins(lines, count, &costs)) return state.SkipWithError("the logins did not end");
    state.SetIterationTime(costs.whole.elapsed());
  }
  const double ratio = costs.whole.processor() / costs.floor.processor();
  state.counters["floor_us"] = costs.floor.processor() * kMicroseconds;
  state.counters["find_over_floor"] = costs.find.processor() / costs.floor.processor();
  state.counters["ratio"] = ratio;
  state.counters["ratio_per_login"] = ratio / static_cast<double>(count);
  state.counters["elapsed_ratio"] = costs.whole.elapsed() / costs.floor.elapsed();
}

// How many times as long 10,000 lines take as 1,000.
void growthOfLogins(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  LoginCosts few;
  LoginCosts many;
  for (auto _ : state) {
    if (!endLogins(1000, count, &few) || !endLogins(10000, count, &many))
      return state.SkipWithError("the logins did not end");
    state.SetIterationTime(many.whole.elapsed());
  }
  state.counters["floor_growth"] = many.floor.processor() / few.floor.processor();
  state.counters["find_growth"] = many.find.processor() / few.find.processor();
  state.counters["growth"] = many.whole.processor() / few.whole.processor();
}

// What `count` requests that match no login add to finding in a file of `lines`, in seconds.
double costOfRequests(std::size_t lines, std::size_t count, bool* done) {
  const bench::SessionFile& file = sessionFile();
  ZEVO::RequestContext context;
  context.sessionFilePath = file.path();
  ZEVO::APIRequest request(context);
  file.fill(lines, 0);
  std::list<HttpKickSession> none;
  std::list<HttpKickSession> requests;
  for (std::size_t i = 0; i < count; ++i)
    requests.push_back({false, i % 2 == 0 ? "" : "user1", "address " + std::to_string(i), {}});
  bench::Costs without;
  bench::Costs with;
  for (int run = 0; run < 3; ++run) {
    without.run([&] { *done = ReadHttpKickSessions(&request, none) && *done; });
    with.run([&] { *done = ReadHttpKickSessions(&request, requests) && *done; });
  }
  return with.processor() - without.processor();
}

// What a request that matches nothing costs, and how many times as much with 10,000 lines as with
// 1,000.
void unmatchedRequests(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  std::vector<double> few;
  std::vector<double> many;
  for (auto _ : state) {
    bool done = true;
    few.push_back(costOfRequests(1000, count, &done));
    many.push_back(costOfRequests(10000, count, &done));
    if (!done) return state.SkipWithError("the file was not read");
    state.SetIterationTime(many.back());
  }
  state.counters["request_us"] = bench::median(few) / static_cast<double>(count) * kMicroseconds;
  state.counters["growth"] = bench::median(many) / bench::median(few);
}

SessionList connections(std::size_t count) {
  SessionList list;
  for (std::size_t i = 0; i < count; ++i) {
    Session session;
    session.setValue(kFirstPid + static_cast<std::uint32_t>(i), "CIFS", "user", "10.0.0.1");
    list.push_back(session);
  }
  return list;
}

void signalTogether(SessionList& list) {
  KillServiceSessions(list, SIGTERM);
}

// Each process is checked, not only the first one's.
void signalEach(SessionList& list) {
  while (!list.empty()) {
    SessionList one;
    one.splice(one.begin(), list, list.begin());
    KillServiceSessions(one, SIGTERM);
  }
}

// Signals `count` connections; false if a process was left out.
bool signal(std::size_t count, const std::function<void(SessionList&)>& work, bench::Costs* costs) {
  SessionList list = connections(count);
  costs->run([&] { work(list); });
  return bench::takeSignals() == count;
}

void signals(benchmark::State& state, const std::function<void(SessionList&)>& work) {
  constexpr std::size_t kFew = 100;
  constexpr std::size_t kMany = 1000;
  bench::makeProcesses(sessionFile().folder() + "/proc", kFirstPid, kMany);
  bench::Costs few;
  bench::Costs many;
  for (auto _ : state) {
    if (!signal(kFew, work, &few) || !signal(kMany, work, &many))
      return state.SkipWithError("not every process was signalled");
    state.SetIterationTime(many.elapsed());
  }
  state.counters["connection_us"] = many.processor() / kMany * kMicroseconds;
  state.counters["growth_per_connection"] = many.processor() / kMany / (few.processor() / kFew);
}

}  // namespace

BENCHMARK(logins)
    ->ArgNames({"lines", "ended"})
    ->Args({10, 1})
    ->Args({10000, 1})
    ->Args({10000, 100})
    ->Unit(benchmark::kMicrosecond)
    ->UseManualTime()
    ->MinTime(1);
BENCHMARK(growthOfLogins)
    ->ArgName("ended")
    ->Arg(1)
    ->Arg(100)
    ->Unit(benchmark::kMicrosecond)
    ->UseManualTime()
    ->MinTime(1);
BENCHMARK(unmatchedRequests)
    ->ArgName("requests")
    ->Arg(300000)
    ->Unit(benchmark::kMicrosecond)
    ->UseManualTime()
    ->Iterations(3);
BENCHMARK_CAPTURE(signals, together, &signalTogether)
    ->Unit(benchmark::kMicrosecond)
    ->UseManualTime()
    ->MinTime(1);
BENCHMARK_CAPTURE(signals, each, &signalEach)
    ->Unit(benchmark::kMicrosecond)
    ->UseManualTime()
    ->MinTime(1);
BENCHMARK_CAPTURE(signals, untilEnded, &EndServiceSessions)
    ->Unit(benchmark::kMicrosecond)
    ->UseManualTime()
    ->MinTime(1);
BENCHMARK_MAIN();
