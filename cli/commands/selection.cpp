#include "cli/commands/selection.h"

#include <array>
#include <cstdint>
#include <strings.h>

#include "base/numbers.h"

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

bool takePids(const std::vector<std::string>& words, Json::Value* select, std::string* wrong) {
  for (const std::string& word : words) {
    const std::optional<std::uint32_t> pid = zevo::parseNumber<std::uint32_t>(word);
    if (!pid || *pid == 0) {
      *wrong = "\"" + word + "\" is no process id: give a number of the list's column PID";
      return false;
    }
    (*select)["pids"].append(*pid);
  }
  return true;
}

bool takeText(const char* name, const std::optional<std::string>& word, Json::Value* select,
              std::string* wrong) {
  if (!word) return true;
  (*select)[name] = *word;
  if (!word->empty()) return true;
  *wrong = std::string("--") + name + " must not be empty: leave it out to mean any";
  return false;
}

bool takeService(const std::optional<std::string>& word, Json::Value* select, std::string* wrong) {
  if (!word) return true;
  for (const ServiceWord& known : kServices) {
    if (strcasecmp(word->c_str(), known.typed) != 0) continue;
    (*select)["type"] = known.type;
    return true;
  }
  *wrong =
      "--service must be cifs, afp, ftp, sftp, ssh, telnet, nfs, login, web or unknown, found \"" +
      *word + "\"";
  return false;
}

}  // namespace

std::optional<Json::Value> checkSelection(const SelectionWords& words, std::string* wrong) {
  Json::Value select(Json::objectValue);
  const bool isRight = takePids(words.pids, &select, wrong) &&
                       takeText("user", words.user, &select, wrong) &&
                       takeText("from", words.from, &select, wrong) &&
                       takeText("filter", words.filter, &select, wrong) &&
                       takeService(words.service, &select, wrong);
  if (!isRight) return {};
  if (!select.empty()) return select;
  *wrong = "nothing selected: give a PID, --user, --from, --service or --filter";
  return {};
}

}  // namespace cli
