#include "cli/commands/warnings.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "calls/enforce/connection.h"
#include "cli/terminal/output.h"
#include "host/disabled_accounts.h"

namespace cli {
namespace {

bool tellsOfAccount(const zevo::ReadNote& warning) {
  return warning.code == zevo::kStillLetIn;
}

std::string lineOf(const zevo::ReadNote& warning) {
  if (tellsOfAccount(warning)) {
    return warning.detail.empty() ? warning.service + " still lets a disabled account in"
                                  : warning.detail;
  }
  if (warning.code == "open_files_missing")
    return "the files open over SMB are not known: " + warning.detail;
  const std::string which = warning.service.empty() ? "" : warning.service + " ";
  std::string line = which + "connections may be missing";
  if (warning.code == zevo::kDetailsMissing) {
    line = "some details of the " + which + "connections are not known";
  }
  return warning.detail.empty() ? line : line + ": " + warning.detail;
}

bool tellsOfMissing(const zevo::ReadNote& warning) {
  return warning.code == zevo::kConnectionsMissing;
}

}  // namespace

std::vector<std::string> warningLines(const std::vector<zevo::ReadNote>& warnings) {
  std::vector<std::string> lines;
  lines.reserve(warnings.size());
  for (const zevo::ReadNote& warning : warnings) lines.push_back(lineOf(warning));
  return lines;
}

void complainOfWarnings(const std::vector<zevo::ReadNote>& warnings) {
  std::string all;
  for (const std::string& line : warningLines(warnings)) all += (all.empty() ? "" : "; ") + line;
  if (!all.empty()) complain(all);
}

void complainOfDoubt(const std::string& doubt, const std::vector<zevo::ReadNote>& warnings) {
  std::vector<std::string> lines = {doubt};
  for (std::string& line : warningLines(warnings)) lines.push_back(std::move(line));
  complain(lines);
}

std::vector<zevo::ReadNote> stillLetIn(const std::vector<zevo::ReadNote>& warnings) {
  std::vector<zevo::ReadNote> found;
  std::copy_if(warnings.begin(), warnings.end(), std::back_inserter(found), tellsOfAccount);
  return found;
}

std::vector<zevo::ReadNote> warningsAbout(const std::vector<zevo::ReadNote>& warnings,
                                          const std::string& type) {
  std::vector<zevo::ReadNote> found;
  std::copy_if(
      warnings.begin(), warnings.end(), std::back_inserter(found),
      [&](const zevo::ReadNote& warning) { return calls::enforce::isAbout(warning, type); });
  return found;
}

bool mayLack(const std::vector<zevo::ReadNote>& warnings) {
  return std::any_of(warnings.begin(), warnings.end(), tellsOfMissing);
}

}  // namespace cli
