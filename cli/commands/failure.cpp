#include "cli/commands/failure.h"

#include <array>
#include <optional>

#include "zevo/unicode.h"

namespace cli {
namespace {

// The upper-cased form that the methods compare must fit into this many bytes, NUL included.
constexpr int kUpperSize = 4587;

// Why the methods cannot compare the value of `option`; nothing if they can.
std::optional<std::string> textFault(const char* option, const std::string& text) {
  std::array<char, kUpperSize> upper = {};
  if (VLIBCUnicodeUTF8StrUpper(text.c_str(), upper.data(), kUpperSize) >= 0) return {};
  return std::string("the value of ") + option + " is too long: in upper case it must stay below " +
         std::to_string(kUpperSize) + " bytes";
}

Failure notAdministrator() {
  return {kExitNotAdministrator,
          {"administrator rights are required to see the connections of all users"}};
}

}  // namespace

Failure explainListFailure(const Answer& answer, const Listing& listing) {
  if (answer.code == kCodeNotAdministrator) return notAdministrator();
  const std::optional<std::string> fault =
      listing.user ? textFault("--user", *listing.user) : textFault("--filter", listing.filter);
  if (fault && answer.code == kCodeFailed) return {kExitFailed, {*fault}};

  std::string first = "cannot read the connections";
  if (answer.code != 0 && answer.code != kCodeFailed) {
    first += ", error " + std::to_string(answer.code);
  }
  Failure failure{kExitFailed, {first + ":"}};
  failure.lines.insert(failure.lines.end(), answer.causes.begin(), answer.causes.end());
  if (answer.causes.empty())
    failure.lines.push_back("see the system log: journalctl -t currentconn");
  return failure;
}

}  // namespace cli
