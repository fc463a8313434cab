#include "cli/commands/access_report.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "cli/terminal/text.h"

namespace cli {
namespace {

std::string valueOf(const Json::Value& service, const char* name) {
  return service["values"][name].asString();
}

std::string nameOf(const std::string& service) {
  static constexpr std::array<std::pair<std::string_view, std::string_view>, 8> kNames = {
      {{"ssh", "SSH"},
       {"proftpd", "ProFTPD"},
       {"pure-ftpd", "Pure-FTPd"},
       {"telnet", "Telnet"},
       {"console", "the console"},
       {"samba", "Samba"},
       {"afp", "AFP"},
       {"page", "the page"}}};
  for (const auto& [id, name] : kNames) {
    if (service == id) return std::string(name);
  }
  return service;
}

std::string reasonOf(const Json::Value& service) {
  std::string cause = valueOf(service, "cause");
  const std::string rules = "the account rules of its PAM service " + valueOf(service, "pam");
  if (service["reason"] == "rules-pass") return rules + " accept expired accounts";
  if (service["reason"] == "rules-unclear") return rules + " may accept expired accounts: " + cause;
  if (service["reason"] == "expiry-ignored")
    return "its module " + cause + " accepts expired accounts";
  if (service["reason"] == "samba-database") return "it checks only its own database";
  if (service["reason"] == "anonymous")
    return "anonymous users are logged in as this account: " + cause;
  if (service["reason"] == "own-users") return "it has its own users: " + cause;
  if (service["reason"] == "keys-unchecked") {
    return "it accepts logins with a key or certificate even if the account is disabled: " + cause;
  }
  if (service["reason"] == "domain-accounts") return "its accounts belong to a domain";
  if (service["reason"] == "other-check") return "it is not known how it checks accounts: " + cause;
  return cause;
}

std::string remedyOf(const Json::Value& service, const std::string& user) {
  if (service["remedy"] == "add-account-check") {
    return R"(make "account required pam_unix.so" its first account rule, in /etc/pam.d/)" +
           valueOf(service, "pam");
  }
  if (service["remedy"] == "ask-pam-alone") {
    return R"(set "AuthOrder mod_auth_pam.c* mod_auth_unix.c" in its configuration and restart the service)";
  }
  if (service["remedy"] == "disable-anonymous")
    return "disable anonymous logins in its configuration and restart the service";
  if (service["remedy"] == "disable-in-samba") {
    const std::string file = valueOf(service, "file");
    return "disable it there with: smbpasswd " +
           (file.empty() ? "" : "-c " + shellWord(file) + " ") + "-d " + shellWord(user);
  }
  if (service["remedy"] == "disable-in-domain") return "disable it in the domain";
  if (service["remedy"] == "remove-own-user")
    return "if " + user + " is one of them, remove it there";
  if (service["remedy"] == "remove-keys")
    return "remove the keys and certificates of " + user + " there";
  return "try to log in as " + user;
}

std::string accessLine(const std::string& user, const Json::Value& service, Tense tense) {
  const bool isCertain = service["access"] == "let_in";
  std::string verb = tense == Tense::kFuture ? " will still let " : " still lets ";
  if (!isCertain) verb = " may still let ";
  return (isCertain ? "" : "note: ") + nameOf(service["service"].asString()) + verb + user +
         " in: " + reasonOf(service) + "; " + remedyOf(service, user);
}

// pkill leaves containers alone, where the user's id belongs to somebody else. It misses processes
// in the user's own namespaces. It takes a name of digits for an id.
std::string endingCommand(const Json::Value& left) {
  std::string command;
  for (const Json::Value& pid : left["apart"])
    command += (command.empty() ? "kill -KILL " : " ") + pid.asString();
  if (left["apart"].size() == left["processes"].asUInt64()) return command;
  if (!command.empty()) command += "; ";
  return command + "pkill -KILL -U " + left["uid"].asString() + " --ns 1 --nslist pid";
}

std::vector<std::string> leftRunningLines(const std::string& user, const Json::Value& left,
                                          Tense tense) {
  std::vector<std::string> lines;
  const bool isOne = left["processes"].asUInt64() == 1;
  if (left["processes"].asUInt64() > 0) {
    const bool isNow = tense == Tense::kPresent;
    lines.push_back(left["processes"].asString() + (isOne ? " process of " : " processes of ") +
                    user + (isNow ? (isOne ? " still runs" : " still run") : " will still run") +
                    "; end " + (isOne ? "it" : "them") + " with: " + endingCommand(left));
  }
  if (left["crontab"].asBool()) {
    lines.push_back(user + " has a crontab; remove it with: crontab -r -u " + shellWord(user));
  }
  if (const auto jobs = left["at_jobs"].asUInt64(); jobs > 0) {
    lines.push_back(std::to_string(jobs) + (jobs == 1 ? " at job of " : " at jobs of ") + user +
                    (jobs == 1 ? " is" : " are") + " waiting; list all jobs with: atq");
  }
  return lines;
}

}  // namespace

std::vector<std::string> accessLines(const Json::Value& account, Tense tense) {
  const std::string user = account["user"].asString();
  std::vector<std::string> lines;
  for (const Json::Value& service : account["access"])
    lines.push_back(accessLine(user, service, tense));
  for (std::string& line : leftRunningLines(user, account["left_running"], tense))
    lines.push_back(std::move(line));
  return lines;
}

bool isLetIn(const Json::Value& account) {
  const Json::Value& access = account["access"];
  return std::any_of(access.begin(), access.end(),
                     [](const Json::Value& service) { return service["access"] == "let_in"; });
}

}  // namespace cli
