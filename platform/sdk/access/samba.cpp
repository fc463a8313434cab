#include <map>
#include <set>
#include <unistd.h>

#include "sdk/access/services.h"
#include "sdk/access/words.h"

namespace zevo::access {
namespace {

constexpr const char* kSamba = "samba";
constexpr const char* kTestparm = "/usr/bin/testparm";

// What the command line of a server says of its configuration file; "" where it says nothing.
std::string fileArgument(const std::string& title) {
  const std::vector<std::string> words = wordsOf(title);
  std::string file;
  for (std::size_t i = 1; i < words.size(); ++i) {
    const bool isApart = words[i] == "-s" || words[i] == "--configfile";
    if (isApart && i + 1 < words.size()) file = words[i + 1];
    if (words[i].starts_with("--configfile=")) file = words[i].substr(words[i].find('=') + 1);
    if (words[i].starts_with("-s") && !isApart) file = words[i].substr(2);
  }
  return file;
}

// The configuration file of a server; "" for the usual one.
std::string configurationOf(const std::string& title) {
  const std::string file = fileArgument(title);
  return file == "/etc/samba/smb.conf" ? "" : file;
}

// The section [global] of what testparm prints.
std::map<std::string, std::string> globalSettings(const std::string& text) {
  std::map<std::string, std::string> settings;
  bool isGlobal = false;
  for (const std::string& line : linesOf(text)) {
    if (line.starts_with('[')) isGlobal = lowered(line) == "[global]";
    const std::size_t equals = line.find('=');
    if (!isGlobal || equals == std::string::npos) continue;
    const std::string_view all = line;
    settings[lowered(trimmed(all.substr(0, equals)))] = lowered(trimmed(all.substr(equals + 1)));
  }
  return settings;
}

bool hasAccountsOfItsOwn(const std::map<std::string, std::string>& settings) {
  static const std::set<std::string> kSecurities = {"auto", "user"};
  static const std::set<std::string> kRoles = {"auto", "standalone server", "standalone",
                                               "classic primary domain controller"};
  return kSecurities.contains(settings.at("security")) &&
         kRoles.contains(settings.at("server role"));
}

enum class Entry { kNone, kEnabled, kDisabled, kNotRead };

// The account's entry in Samba's own database.
Entry entryOf(const SambaTool& tool, const std::string& account, std::string* cause) {
  // A server without its tool may have entries all the same.
  if (::access(tool.path.c_str(), F_OK) != 0) {
    *cause = "there is no " + tool.path;
    return Entry::kNotRead;
  }
  const auto entries = readSambaEntries(tool, {account}, cause);
  if (!entries) return Entry::kNotRead;
  if (entries->empty()) return Entry::kNone;
  return entries->front().isDisabled() ? Entry::kDisabled : Entry::kEnabled;
}

ServiceAccess judgeServer(const Server& server, const std::string& account, AccessMoment moment,
                          const SambaTool& tool) {
  const std::string& file = tool.configuration;
  std::vector<std::string> arguments = {kTestparm, "--suppress-prompt", "--verbose"};
  if (!file.empty()) arguments.push_back(file);
  std::string cause;
  const auto text = server.ask(arguments, &cause);
  if (!text) return notRead(kSamba, cause);
  const auto settings = globalSettings(*text);
  for (const char* name : {"security", "server role", "obey pam restrictions"}) {
    if (!settings.contains(name)) {
      return notRead(kSamba, std::string(kTestparm) + " does not tell \"" + name + "\"");
    }
  }
  if (!hasAccountsOfItsOwn(settings)) {
    return unknown(kSamba, "domain-accounts", "disable-in-domain", settings.at("server role"));
  }
  const Entry entry = entryOf(tool, account, &cause);
  if (entry == Entry::kNotRead) return notRead(kSamba, cause);
  if (entry == Entry::kNone) return refused(kSamba, "no-samba-entry");
  // The account write disables the entry that the usual configuration leads to.
  const bool willBeDisabled = moment == AccessMoment::kOnceDisabled && file.empty();
  if (entry == Entry::kDisabled || willBeDisabled) return refused(kSamba, "samba-disabled");
  if (settings.at("obey pam restrictions") == "yes") return server.askPam(kSamba, "samba");
  return {kSamba, Access::kLetIn, "samba-database", "disable-in-samba", {{"file", file}}};
}

}  // namespace

std::optional<ServiceAccess> sambaAccess(const Server& server, const std::string& account,
                                         AccessMoment moment, SambaTool tool) {
  std::set<std::string> files;
  for (const std::string& title : server.titles("smbd")) {
    if (!title.starts_with("smbd:") && !title.starts_with("smbd[")) {
      files.insert(configurationOf(title));
    }
  }
  tool.path = server.path(tool.path);
  std::vector<ServiceAccess> all;
  for (const std::string& file : files) {
    tool.configuration = file;
    all.push_back(judgeServer(server, account, moment, tool));
  }
  return all.empty() ? std::nullopt : std::optional(worstOf(all));
}

}  // namespace zevo::access
