#include "report.h"

#include <array>
#include <cerrno>
#include <limits>
#include <optional>
#include <poll.h>
#include <string_view>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "base/atomic_file.h"
#include "base/file_descriptor.h"
#include "base/file_failure.h"
#include "base/read_file.h"
#include "failure.h"
#include "forked_call.h"
#include "output.h"
#include "report_page.h"
#include "table_output.h"
#include "text.h"
#include "warnings.h"

namespace cli {
namespace {

ExitCode fail(const std::string& reason) {
  complain("no report was written: " + reason);
  return kExitFailed;
}

Answer waitForAnswer(ForkedCall call) {
  while (true) {
    if (std::optional<Answer> answer = call.advance()) return std::move(*answer);
  }
}

// What "download" prints, in a process of its own, so that its standard output is not this one's.
std::optional<std::string> printedReport(const Report& request, Backend& backend,
                                         std::string* reason) {
  const zevo::FileDescriptor capture(memfd_create("currentconn-report", MFD_CLOEXEC));
  if (!capture) {
    *reason = "no memory for it: " + zevo::errorText(errno);
    return {};
  }
  std::optional<ForkedCall> call = ForkedCall::start(
      backend, "download", parametersOf(request.listing), {Bond::kEnds, capture.get()}, reason);
  if (!call) return {};
  const Answer answer = waitForAnswer(std::move(*call));
  if (answer.status != Answer::Status::kOwnOutput) {
    *reason = answer.causes.empty() ? "the method wrote none" : answer.causes.front();
    return {};
  }
  std::string printed;
  lseek(capture.get(), 0, SEEK_SET);
  const auto failure =
      zevo::readDescriptor(capture.get(), "the report", std::numeric_limits<int>::max(), &printed);
  if (failure) {
    *reason = failure->text();
    return {};
  }
  return printed;
}

ExitCode store(const Report& request, std::string_view page) {
  const std::string& file = request.file;
  if (file == "-") return printText(std::string(page));
  struct stat target = {};
  if (stat(file.c_str(), &target) == 0 && !S_ISREG(target.st_mode)) {
    return fail(file + " is there and is no ordinary file");
  }
  const std::array<std::string_view, 1> pieces = {page};
  const auto failure = zevo::replaceFile(file, pieces, {.mode = request.mode});
  if (failure) return fail(failure->text());
  return printText("the report is in " + displayText(file, Charset::kUtf8) + "\n");
}

}  // namespace

ExitCode writeReport(const Report& request, Backend& backend) {
  // "download" tells nobody that it could not read everything; "list" does, whatever its page.
  Json::Value oneRow = parametersOf(request.listing);
  oneRow["limit"] = 1;
  const Answer list = backend.call("list", oneRow);
  if (list.status != Answer::Status::kDone) {
    const Failure failure = explainListFailure(list, request.listing);
    complain(failure.lines);
    return failure.exitCode;
  }
  complainOfWarnings(list.warnings);
  std::string reason;
  const std::optional<std::string> printed = printedReport(request, backend, &reason);
  if (!printed) return fail(reason);
  const std::optional<std::string_view> page = pageIn(*printed);
  if (!page) return fail("the method's page is not whole");
  return store(request, *page);
}

}  // namespace cli
