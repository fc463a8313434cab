#include "show_listing.h"

#include <cstdlib>
#include <optional>
#include <string>
#include <unistd.h>

#include "connection.h"
#include "failure.h"
#include "output.h"
#include "summary.h"
#include "table.h"
#include "terminal.h"

namespace cli {
namespace {

ExitCode print(const std::string& text) {
  std::string cause;
  if (writeAll(STDOUT_FILENO, text, &cause) != Written::kFailed) return kExitDone;
  complain("cannot write to standard output: " + cause);
  return kExitFailed;
}

Look lookOfOutput() {
  Look look;
  if (isatty(STDOUT_FILENO) != 1) return look;
  look.charset = charsetOfLocale();
  look.width = terminalSize(STDOUT_FILENO).columns;
  look.colours = allowsColours(std::getenv("NO_COLOR"), std::getenv("TERM"));
  return look;
}

std::string leftOutLine(const Table& table) {
  std::string line;
  for (const std::string& name : table.leftOut) {
    line += line.empty() ? "not shown, the terminal is too narrow: " : ", ";
    line += name;
  }
  return line.empty() ? "" : line + "\n";
}

ExitCode printPage(const Page& page, const Listing& listing) {
  const Look look = lookOfOutput();
  std::string text;
  if (!page.connections.empty()) {
    const Table table = makeTable(unchangedRows(page.connections), look);
    for (const std::string& line : table.lines) text += line + "\n";
    text += "\n" + leftOutLine(table);
  }
  return print(text + summaryOf(page, listing, look.charset) + "\n");
}

ExitCode explain(const Answer& answer, const Listing& listing) {
  const Failure failure = explainListFailure(answer, listing);
  complain(failure.lines);
  return failure.exitCode;
}

}  // namespace

ExitCode showListing(const Listing& listing, Backend& backend) {
  const Answer answer = backend.call(methodOf(listing), parametersOf(listing));
  if (answer.status == Answer::Status::kOwnOutput) return kExitDone;
  if (answer.status != Answer::Status::kDone) return explain(answer, listing);
  if (listing.asJson) return print(answer.data + "\n");
  const std::optional<Page> page = parsePage(answer.data);
  if (page) return printPage(*page, listing);
  return explain(failedAnswer("the answer of \"" + std::string(methodOf(listing)) +
                              "\" is no list of connections"),
                 listing);
}

}  // namespace cli
