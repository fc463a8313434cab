#include "services/vsftpd_guests.h"

#include <strings.h>

#include "base/read_file.h"
#include "base/text.h"

namespace zevo::connections {
namespace {

constexpr std::size_t kFileLimit = 1024UL * 1024;

bool isYes(const std::string& value) {
  return ::strcasecmp(value.c_str(), "YES") == 0 || ::strcasecmp(value.c_str(), "TRUE") == 0 ||
         value == "1";
}

void takeSetting(std::string_view line, VsftpdGuests& guests) {
  const std::string_view key = takeUntil('=', line);
  const std::string value(line.substr(0, line.find_last_not_of(" \t\r") + 1));
  if (key == "guest_enable") guests.areServed = isYes(value);
  if (key == "guest_username") guests.account = value;
  if (key == "anonymous_enable") guests.anonymousServed = isYes(value);
  if (key == "ftp_username") guests.anonymous = value;
  if (key == "nopriv_user") guests.helper = value;
}

void takeFile(const std::string& path, VsftpdGuests& guests) {
  std::string text;
  if (!readFile(path, kFileLimit, &text)) takeSettings(text, guests);
}

}  // namespace

void takeSettings(std::string_view text, VsftpdGuests& guests) {
  for (const std::string_view line : linesOf(text)) takeSetting(line, guests);
}

VsftpdGuests readGuests(std::string_view arguments, const std::string& standardFile) {
  constexpr std::string_view kOption = "-o";
  VsftpdGuests guests;
  bool hasFile = false;
  std::string options;
  takeUntil(' ', arguments);  // the program
  while (!arguments.empty()) {
    const std::string_view argument = takeUntil(' ', arguments);
    if (argument.starts_with(kOption)) options.append(argument.substr(kOption.size())) += '\n';
    if (!argument.starts_with('/')) continue;
    takeFile(std::string(argument), guests);
    hasFile = true;
  }
  if (!hasFile) takeFile(standardFile, guests);
  takeSettings(options, guests);
  return guests;
}

std::string_view guestOf(const VsftpdGuests& guests, std::string_view account) {
  if (!guests.areServed || account != guests.account) return "";
  const bool isAnonymousToo = guests.anonymousServed && account == guests.anonymous;
  return isAnonymousToo ? "virtual or anonymous user" : "virtual user";
}

}  // namespace zevo::connections
