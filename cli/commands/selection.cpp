#include "cli/commands/selection.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <netinet/in.h>
#include <string_view>
#include <strings.h>
#include <utility>

#include "cli/commands/listing.h"
#include "cli/numbers.h"

namespace cli {
namespace {

struct ServiceWord {
  const char* typed;
  const char* type;  // the methods' word
};

constexpr std::array<ServiceWord, 13> kServices = {{{"cifs", "CIFS"},
                                                    {"smb", "CIFS"},
                                                    {"afp", "AFP"},
                                                    {"ftp", "FTP"},
                                                    {"sftp", "SFTP"},
                                                    {"ssh", "SSH"},
                                                    {"telnet", "TELNET"},
                                                    {"nfs", "NFS"},
                                                    {"login", "LOGIN"},
                                                    {"web", "HTTP/HTTPS"},
                                                    {"http", "HTTP/HTTPS"},
                                                    {"http/https", "HTTP/HTTPS"},
                                                    {"unknown", "UNKNOWN"}}};

bool takePids(const std::vector<std::string>& words, std::vector<std::uint32_t>* pids,
              std::string* wrong) {
  for (const std::string& word : words) {
    const std::optional<std::uint32_t> pid = parseNumber<std::uint32_t>(word);
    if (!pid || *pid == 0) {
      *wrong = "\"" + word + "\" is no process id: give a number of the list's column PID";
      return false;
    }
    pids->push_back(*pid);
  }
  return true;
}

bool takeText(const char* option, const std::optional<std::string>& word, std::string* text,
              std::string* wrong) {
  if (!word) return true;
  *text = *word;
  if (!text->empty()) return true;
  *wrong = std::string(option) + " must not be empty: leave it out to mean any";
  return false;
}

bool takeService(const std::optional<std::string>& word, std::string* type, std::string* wrong) {
  if (!word) return true;
  for (const ServiceWord& known : kServices) {
    if (strcasecmp(word->c_str(), known.typed) != 0) continue;
    *type = known.type;
    return true;
  }
  *wrong =
      "--service must be cifs, afp, ftp, sftp, ssh, telnet, nfs, login, web or unknown, found \"" +
      *word + "\"";
  return false;
}

// Both as addresses where both are, so that every way to write one means the same.
bool isSameAddress(const std::string& a, const std::string& b) {
  if (a == b) return true;
  in6_addr first;
  in6_addr second;
  if (inet_pton(AF_INET6, a.c_str(), &first) != 1) return false;
  if (inet_pton(AF_INET6, b.c_str(), &second) != 1) return false;
  return IN6_ARE_ADDR_EQUAL(&first, &second);
}

// "bob" of "photos (bob)" or "(bob)"; empty where no user is named.
std::string_view namedUser(std::string_view resource) {
  if (!resource.ends_with(')')) return {};
  const std::size_t open = resource.rfind('(');
  if (open == std::string_view::npos) return {};
  const bool standsAlone = open == 0 || resource[open - 1] == ' ';
  if (!standsAlone) return {};
  return resource.substr(open + 1, resource.size() - open - 2);
}

void addUser(std::string_view user, std::vector<std::string>* users) {
  const std::string_view shown = user == "root" ? kNameOfRoot : user;
  if (shown.empty() || std::find(users->begin(), users->end(), shown) != users->end()) return;
  users->emplace_back(shown);
}

}  // namespace

std::optional<Selection> checkSelection(const SelectionWords& words, std::string* wrong) {
  Selection selection;
  const bool isRight = takePids(words.pids, &selection.pids, wrong) &&
                       takeText("--user", words.user, &selection.user, wrong) &&
                       takeText("--from", words.from, &selection.from, wrong) &&
                       takeText("--filter", words.filter, &selection.filter, wrong) &&
                       takeService(words.service, &selection.type, wrong);
  if (!isRight) return {};
  if (selection == Selection()) {
    *wrong = "whom? Give a PID, --user, --from, --service or --filter";
    return {};
  }
  if (selection.user == "root") selection.user = kNameOfRoot;
  return selection;
}

std::vector<std::string> usersOf(const Connection& connection) {
  std::vector<std::string> users;
  addUser(connection.who, &users);
  // Elsewhere a name in brackets is whatever a client called its folder.
  if (connection.type != "CIFS") return users;
  constexpr std::string_view kBetween = ", ";
  std::string_view rest = connection.descr;
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find(kBetween), rest.size());
    addUser(namedUser(rest.substr(0, end)), &users);
    rest.remove_prefix(std::min(end + kBetween.size(), rest.size()));
  }
  return users;
}

bool isSelected(const Connection& connection, const Selection& selection) {
  const auto contains = [](const auto& values, const auto& value) {
    return std::find(values.begin(), values.end(), value) != values.end();
  };
  if (!selection.pids.empty() && !contains(selection.pids, connection.pid)) return false;
  if (!selection.user.empty() && !contains(usersOf(connection), selection.user)) return false;
  if (!selection.from.empty() && !isSameAddress(selection.from, connection.from)) return false;
  return selection.type.empty() || selection.type == connection.type;
}

}  // namespace cli
