#include <algorithm>
#include <set>

#include "sdk/access/services.h"
#include "sdk/access/words.h"

namespace zevo::access {
namespace {

constexpr const char* kSsh = "ssh";
constexpr const char* kSshd = "/usr/sbin/sshd";

using Arguments = std::vector<std::string>;

// The arguments of a listener that determine its configuration: "sshd: /usr/sbin/sshd -D -f FILE -o
// NAME=VALUE [listener] 0 of 10-100 startups".
std::optional<Arguments> optionsOf(const std::string& title) {
  if (!title.starts_with("sshd: ") || title.find(" [listener]") == std::string::npos) return {};
  Arguments options;
  const std::vector<std::string> words = wordsOf(title.substr(0, title.find(" [listener]")));
  for (std::size_t i = 0; i < words.size(); ++i) {
    const bool isApart = words[i] == "-f" || words[i] == "-o";
    if (isApart && i + 1 < words.size()) {
      options.insert(options.end(), {words[i], words[i + 1]});
      ++i;
    } else if (words[i].starts_with("-f") || words[i].starts_with("-o")) {
      options.push_back(words[i]);
    }
  }
  return options;
}

// The value of `key` in the output of "sshd -T"; empty if missing.
std::string valueOf(const std::string& settings, const std::string& key) {
  for (const std::string& line : trimmedLines(settings)) {
    if (line.starts_with(key + " ")) return line.substr(key.size() + 1);
  }
  return "";
}

ServiceAccess judge(const Server& server, const std::string& account, const Arguments& options) {
  Arguments arguments = {kSshd, "-T"};
  arguments.insert(arguments.end(), options.begin(), options.end());
  // All criteria must be given, or sshd fails at a block that matches by a missing one.
  arguments.insert(arguments.end(), {"-C", "user=" + account +
                                               ",host=localhost,addr=127.0.0.1,laddr=127.0.0.1,"
                                               "lport=22,rdomain="});
  std::string cause;
  const auto settings = server.ask(arguments, &cause);
  if (!settings) return notRead(kSsh, cause);
  const std::string usesPam = valueOf(*settings, "usepam");
  if (usesPam == "no") return refused(kSsh, "own-check");
  if (usesPam != "yes") return notRead(kSsh, std::string(kSshd) + " does not report UsePAM");
  const std::string pam = valueOf(*settings, "pamservicename");
  return server.askPam(kSsh, pam.empty() ? "sshd" : pam);
}

}  // namespace

std::optional<ServiceAccess> opensshAccess(const Server& server, const std::string& account) {
  std::set<Arguments> configurations;
  for (const std::string& title : server.titles("sshd")) {
    if (const auto options = optionsOf(title)) configurations.insert(*options);
  }
  if (configurations.empty()) {
    if (!server.has(kSshd)) return std::nullopt;
    configurations.insert(Arguments());
  }
  std::vector<ServiceAccess> all;
  all.reserve(configurations.size());
  for (const Arguments& options : configurations) all.push_back(judge(server, account, options));
  return worstOf(all);
}

}  // namespace zevo::access
