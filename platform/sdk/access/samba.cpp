#include <map>
#include <set>

#include "sdk/access/services.h"
#include "sdk/access/words.h"

namespace zevo::access {
namespace {

constexpr const char* kSamba = "samba";
constexpr const char* kTestparm = "/usr/bin/testparm";
constexpr const char* kPdbedit = "/usr/bin/pdbedit";

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
Entry entryOf(const Server& server, const std::string& account, const std::string& file,
              std::string* cause) {
  std::vector<std::string> arguments = {kPdbedit, "--list"};
  if (!file.empty()) arguments.push_back("--configfile=" + file);
  // Where there is no such entry it fails as it does for other reasons: the list of all tells.
  const auto all = server.ask(arguments, cause);
  if (!all) return Entry::kNotRead;
  bool isThere = false;
  for (const std::string& line : linesOf(*all)) isThere |= line.starts_with(account + ":");
  if (!isThere) return Entry::kNone;
  arguments.insert(arguments.end(), {"--verbose", "--user=" + account});
  const auto details = server.ask(arguments, cause);
  if (!details) return Entry::kNotRead;
  for (const std::string& line : linesOf(*details)) {
    if (!line.starts_with("Account Flags:")) continue;
    return line.find('D', line.find('[')) != std::string::npos ? Entry::kDisabled : Entry::kEnabled;
  }
  *cause = std::string(kPdbedit) + " tells no flags";
  return Entry::kNotRead;
}

ServiceAccess judgeServer(const Server& server, const std::string& account, const std::string& file,
                          AccessMoment moment) {
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
  const Entry entry = entryOf(server, account, file, &cause);
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
                                         AccessMoment moment) {
  std::set<std::string> files;
  for (const std::string& title : server.titles("smbd")) {
    if (!title.starts_with("smbd:") && !title.starts_with("smbd[")) {
      files.insert(configurationOf(title));
    }
  }
  std::vector<ServiceAccess> all;
  for (const std::string& file : files) all.push_back(judgeServer(server, account, file, moment));
  return all.empty() ? std::nullopt : std::optional(worstOf(all));
}

}  // namespace zevo::access
