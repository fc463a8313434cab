// The cost of the method "download", its page written, against the floor: a plain loop that writes
// the same rows cell by cell, through the same encoding and the same printf, with neither queue nor
// collecting before it. What is between them shows in two more pieces of work: the page of rows
// that are there, and the handler's own collecting and sorting with the plain loop behind it.
#include <array>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <malloc.h>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

#include <benchmark/benchmark.h>

#include "zevo/api_request.h"
#include "zevo/api_response.h"
#include "zevo/web_utils.h"

#include "api/api_table.h"
#include "bench/connections_double.h"
#include "bench/measure.h"
#include "bench/peak_memory.h"
#include "collect/user_filter.h"
#include "methods/listing.h"
#include "methods/report_page.h"

namespace {

using Row = std::array<std::string, 5>;
using Work = std::function<void()>;

constexpr double kMilliseconds = 1e3;

// What the page consists of, made before anything is measured.
struct Rows {
  std::vector<Row> plain;
  SessionList sessions;
};

SessionList sortedSessions(ZEVO::APIRequest* request) {
  SessionList list;
  collectSessions(request, list);
  SessionListUidFilter(list);
  list.sort(Session::Compare(SessionSortField::time, false));
  return list;
}

void withRequest(const std::function<void(ZEVO::APIRequest*)>& work) {
  ZEVO::RequestContext context;
  context.isAdmin = true;
  context.sessionFilePath = "/nonexistent";
  ZEVO::APIRequest request(context);
  work(&request);
}

Rows makeRows(std::size_t count) {
  Rows rows;
  bench::prepareConnections(count);
  withRequest([&rows](ZEVO::APIRequest* request) {
    rows.sessions = sortedSessions(request);
    for (const Session& session : rows.sessions)
      rows.plain.push_back({session.time, session.who, session.from, session.type, session.descr});
  });
  return rows;
}

void writeRow(const std::array<const char*, 5>& cells) {
  std::printf("<tr>");
  for (const char* cell : cells) {
    std::printf("<td align=\"%s\" >", "left");
    std::printf("%s</td>", WebUtils::EncodeHtml(cell, false).c_str());
  }
  std::printf("</tr>");
}

void writePlain(const std::vector<Row>& rows) {
  for (const Row& row : rows)
    writeRow({row[0].c_str(), row[1].c_str(), row[2].c_str(), row[3].c_str(), row[4].c_str()});
}

void collectAndWritePlain() {
  withRequest([](ZEVO::APIRequest* request) {
    const SessionList list = sortedSessions(request);
    for (const Session& session : list)
      writeRow({session.time.c_str(), session.who.c_str(), session.from.c_str(),
                session.type.c_str(), session.descr.c_str()});
  });
}

void callDownload() {
  withRequest([](ZEVO::APIRequest* request) {
    ZEVO::APIResponse response;
    CurrentConnectionDownload(request, &response);
  });
}

// Standard output goes to `target` for as long as this lives.
class Redirection {
 public:
  explicit Redirection(int target) : output_(dup(STDOUT_FILENO)) {
    std::fflush(stdout);
    dup2(target, STDOUT_FILENO);
  }
  ~Redirection() {
    std::fflush(stdout);
    dup2(output_, STDOUT_FILENO);
    close(output_);
  }
  Redirection(const Redirection&) = delete;
  Redirection& operator=(const Redirection&) = delete;

 private:
  int output_;
};

int openNull() {
  return open("/dev/null", O_WRONLY | O_CLOEXEC);
}
int openMemory() {
  return memfd_create("page", MFD_CLOEXEC);
}

// Each piece of work starts with a heap that the one before has not left in pieces, and with a file
// of its own.
void measure(int (*target)(), const Work& work, bench::Costs* costs) {
  malloc_trim(0);
  const int file = target();
  {
    const Redirection redirection(file);
    costs->run([&work] {
      work();
      std::fflush(stdout);
    });
  }
  close(file);
}

std::string written(const Work& work) {
  const int file = openMemory();
  {
    const Redirection redirection(file);
    work();
  }
  std::string text(static_cast<std::size_t>(lseek(file, 0, SEEK_END)), '\0');
  if (pread(file, text.data(), text.size(), 0) != static_cast<ssize_t>(text.size())) text.clear();
  close(file);
  return text;
}

// Whether both write the same rows.
bool writeTheSame(const Rows& rows, std::size_t count) {
  const std::string floor = written([&rows] { writePlain(rows.plain); });
  bench::prepareConnections(count);
  return !floor.empty() && written(&callDownload).ends_with(floor + "</table></body></html>");
}

void memory(benchmark::State& state) {
  const std::string count = std::to_string(state.range(0));
  state.counters["floor_MiB"] = bench::peakGrowthMiB({"floor", count});
  state.counters["unqueued_MiB"] = bench::peakGrowthMiB({"unqueued", count});
  state.counters["handler_MiB"] = bench::peakGrowthMiB({"handler", count});
}

void download(benchmark::State& state, int (*target)()) {
  const auto count = static_cast<std::size_t>(state.range(0));
  const Rows rows = makeRows(count);
  if (!writeTheSame(rows, count)) return state.SkipWithError("the pages differ");
  bench::Costs floor;
  bench::Costs page;
  bench::Costs unqueued;
  bench::Costs handler;
  for (auto _ : state) {
    measure(
        target, [&rows] { writePlain(rows.plain); }, &floor);
    measure(
        target, [&rows] { printReport(rows.sessions); }, &page);
    bench::prepareConnections(count);
    measure(target, &collectAndWritePlain, &unqueued);
    bench::prepareConnections(count);
    measure(target, &callDownload, &handler);
    state.SetIterationTime(handler.elapsed());
  }
  state.counters["floor_ms"] = floor.processor() * kMilliseconds;
  state.counters["ratio"] = handler.processor() / floor.processor();
  state.counters["page_over_floor"] = page.processor() / floor.processor();
  state.counters["over_unqueued"] = handler.processor() / unqueued.processor();
  memory(state);
}

// The piece of work that peakGrowthMiB asks a fresh process for.
void runNamed(const std::vector<std::string>& work) {
  const std::size_t count = std::strtoul(work[1].c_str(), nullptr, 10);
  const bool isFloor = work[0] == "floor";
  const Rows rows = isFloor ? makeRows(count) : Rows();
  if (!isFloor) bench::prepareConnections(count);
  malloc_trim(0);
  const int file = openNull();
  const Redirection redirection(file);
  close(file);
  bench::resetPeak();
  if (isFloor) return writePlain(rows.plain);
  if (work[0] == "unqueued") return collectAndWritePlain();
  callDownload();
}

}  // namespace

BENCHMARK_CAPTURE(download, toNull, &openNull)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->MinTime(3);
BENCHMARK_CAPTURE(download, toFile, &openMemory)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->MinTime(3);

int main(int argc, char** argv) {
  if (bench::runPeakWork(argc, argv, runNamed)) return 0;
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
}
