#include "cli/commands/report.h"

#include <array>
#include <string_view>
#include <sys/stat.h>

#include "base/atomic_file.h"
#include "cli/commands/failure.h"
#include "cli/commands/warnings.h"
#include "cli/terminal/output.h"
#include "cli/terminal/table_output.h"
#include "cli/terminal/text.h"

namespace cli {
namespace {

ExitCode fail(const std::string& reason) {
  complain("no report was written: " + reason);
  return kExitFailed;
}

// Whether the page is complete: "download" may have failed halfway.
bool isWhole(std::string_view page) {
  return page.starts_with("<html>") && page.ends_with("</html>");
}

ExitCode store(const Report& request, std::string_view page) {
  const std::string& file = request.file;
  if (file == "-") return printText(std::string(page));
  struct stat target = {};
  if (lstat(file.c_str(), &target) == 0 && !S_ISREG(target.st_mode)) {
    return fail(file + " exists and is not a regular file; \"-o -\" writes to standard output");
  }
  const std::array<std::string_view, 1> pieces = {page};
  const auto failure = zevo::replaceFile(file, pieces, {.mode = request.mode});
  if (failure) return fail(failure->text());
  return printText("report written to " + displayText(file, Charset::kUtf8) + "\n");
}

}  // namespace

ExitCode writeReport(const Report& request, Client& client) {
  // "download" does not report what it could not read; "list" does, for any page.
  Json::Value oneRow = parametersOf(request.listing);
  oneRow["limit"] = 1;
  const Answer list = client.call("list", oneRow);
  if (list.status != Answer::Status::kDone) {
    const Failure failure = explainListFailure(list, request.listing);
    complain(failure.lines);
    return failure.exitCode;
  }
  complainOfWarnings(list.warnings);
  const Answer report = client.call("download", parametersOf(request.listing));
  if (report.status != Answer::Status::kOwnOutput) {
    return fail(report.causes.empty() ? "the method wrote none" : report.causes.front());
  }
  if (!isWhole(report.data)) return fail("the method's page is incomplete");
  return store(request, report.data);
}

}  // namespace cli
