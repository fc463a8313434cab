#include "cli/commands/failure.h"

#include <array>
#include <optional>

#include "zevo/unicode.h"

namespace cli {
namespace {

// The upper-cased form that the methods compare must fit into this many bytes, NUL included.
constexpr int kUpperSize = 4587;

// What the methods cannot compare about the value of `option`; nothing where they can.
std::optional<std::string> textFault(const char* option, const std::string& text) {
  std::array<char, kUpperSize> upper = {};
  if (VLIBCUnicodeUTF8StrUpper(text.c_str(), upper.data(), kUpperSize) >= 0) return {};
  return std::string("the text of ") + option + " is too long: in upper case it must stay below " +
         std::to_string(kUpperSize) + " bytes";
}

Failure notAdministrator() {
  return {kExitNotAdministrator, {"only an administrator may see the connections of all users"}};
}

}  // namespace

Failure explainListFailure(const Answer& answer, const Listing& listing) {
  if (answer.code == kCodeNotAdministrator) return notAdministrator();
  const std::optional<std::string> fault =
      listing.user ? textFault("--user", *listing.user) : textFault("--filter", listing.filter);
  if (fault && answer.code == kCodeFailed) return {kExitFailed, {*fault}};

  std::string first = "cannot read who is connected";
  if (answer.code != 0 && answer.code != kCodeFailed) {
    first += ", error " + std::to_string(answer.code);
  }
  Failure failure{kExitFailed, {first + ":"}};
  failure.lines.insert(failure.lines.end(), answer.causes.begin(), answer.causes.end());
  if (answer.causes.empty())
    failure.lines.push_back("the system log tells more: journalctl -t currentconn");
  return failure;
}

}  // namespace cli
