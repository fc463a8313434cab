#include "cli/commands/show_listing.h"

#include <optional>
#include <string>
#include <unistd.h>

#include "base/json.h"
#include "cli/client/connection.h"
#include "cli/commands/failure.h"
#include "cli/commands/summary.h"
#include "cli/commands/warnings.h"
#include "cli/terminal/output.h"
#include "cli/terminal/table_output.h"

namespace cli {
namespace {

ExitCode printPage(const Page& page, const Listing& listing) {
  const Look look = lookOfOutput();
  std::string text;
  if (!page.connections.empty()) text = tableText(page.connections, look);
  return printText(text + summaryOf(page, listing, look.charset) + "\n");
}

// The answer is unchanged on standard output; programs find warnings on standard error.
ExitCode printJson(const Answer& answer) {
  if (!answer.warnings.empty()) {
    Json::Value object(Json::objectValue);
    object["warnings"] = zevo::readNotesAsJson(answer.warnings);
    writeAll(STDERR_FILENO, zevo::asciiJson(object) + "\n");
  }
  return printText(answer.data + "\n");
}

ExitCode explain(const Answer& answer, const Listing& listing) {
  const Failure failure = explainListFailure(answer, listing);
  complain(failure.lines);
  return failure.exitCode;
}

}  // namespace

ExitCode showListing(const Listing& listing, Client& client) {
  const Answer answer = client.call(methodOf(listing), parametersOf(listing));
  if (answer.status != Answer::Status::kDone) return explain(answer, listing);
  if (listing.asJson) return printJson(answer);
  complainOfWarnings(answer.warnings);
  const std::optional<Page> page = parsePage(answer.data);
  if (page) return printPage(*page, listing);
  return explain(failedAnswer("the answer of \"" + std::string(methodOf(listing)) +
                              "\" is not a list of connections"),
                 listing);
}

}  // namespace cli
