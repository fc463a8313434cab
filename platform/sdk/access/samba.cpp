#include <algorithm>
#include <map>
#include <set>
#include <unistd.h>
#include <utility>

#include "sdk/access/services.h"
#include "sdk/access/words.h"

namespace zevo::access {
namespace {

constexpr const char* kSamba = "samba";
constexpr const char* kTestparm = "/usr/bin/testparm";

// The configuration file on the command line of a server; "" if there is none.
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

// The configuration file of a server; "" for the default one.
std::string configurationOf(const std::string& title) {
  const std::string file = fileArgument(title);
  return file == "/etc/samba/smb.conf" ? "" : file;
}

// The section [global] in the output of testparm.
std::map<std::string, std::string> globalSettings(const std::string& text) {
  std::map<std::string, std::string> settings;
  bool isGlobal = false;
  for (const std::string& line : trimmedLines(text)) {
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

// The settings that let guests in, who log in without a password; "" if none does. "map to guest"
// does not matter to clients that give no name, and even without a share they get IPC$.
std::string whatLetsGuestsIn(const std::map<std::string, std::string>& settings,
                             const std::string& text) {
  const std::string& restricted = settings.at("restrict anonymous");
  std::string open = restricted == "2" ? "" : "restrict anonymous = " + restricted;
  const std::vector<std::string> lines = trimmedLines(lowered(text));
  for (const char* line : {"guest ok = yes", "usershare allow guests = yes"}) {
    if (std::find(lines.begin(), lines.end(), line) == lines.end()) continue;
    open += (open.empty() ? "" : ", ") + std::string(line);
  }
  return open;
}

enum class Entry { kNone, kEnabled, kDisabled, kNotRead };

// The account's entry in Samba's own database.
Entry entryOf(const SambaDatabases::Read& database, const std::string& account) {
  if (!database.entries) return Entry::kNotRead;
  const auto entry = database.entries->find(account);
  if (entry == database.entries->end()) return Entry::kNone;
  return entry->second.isDisabled() ? Entry::kDisabled : Entry::kEnabled;
}

ServiceAccess judgeServer(const Server& server, const std::string& account, AccessMoment moment,
                          const std::string& file, SambaDatabases& databases) {
  std::vector<std::string> arguments = {kTestparm, "--suppress-prompt", "--verbose"};
  if (!file.empty()) arguments.push_back(file);
  std::string cause;
  const auto text = server.ask(arguments, &cause);
  if (!text) return notRead(kSamba, cause);
  const auto settings = globalSettings(*text);
  for (const char* name : {"security", "server role", "obey pam restrictions", "guest account",
                           "restrict anonymous"}) {
    if (!settings.contains(name)) {
      return notRead(kSamba, std::string(kTestparm) + " does not tell \"" + name + "\"");
    }
  }
  if (settings.at("guest account") == lowered(account)) {
    const std::string open = whatLetsGuestsIn(settings, *text);
    if (!open.empty()) return anonymous(kSamba, open);
  }
  if (!hasAccountsOfItsOwn(settings)) {
    return unknown(kSamba, "domain-accounts", "disable-in-domain", settings.at("server role"));
  }
  const SambaDatabases::Read& database = databases.of(file);
  const Entry entry = entryOf(database, account);
  if (entry == Entry::kNotRead) return notRead(kSamba, database.cause);
  if (entry == Entry::kNone) return refused(kSamba, "no-samba-entry");
  // The account write disables the entry of the default configuration.
  const bool willBeDisabled = moment == AccessMoment::kOnceDisabled && file.empty();
  if (entry == Entry::kDisabled || willBeDisabled) return refused(kSamba, "samba-disabled");
  if (settings.at("obey pam restrictions") == "yes") return server.askPam(kSamba, "samba");
  return {kSamba, Access::kLetIn, "samba-database", "disable-in-samba", {{"file", file}}};
}

}  // namespace

SambaDatabases::SambaDatabases(SambaTool tool, std::vector<std::string> accounts)
    : tool_(std::move(tool)), accounts_(std::move(accounts)) {}

const SambaDatabases::Read& SambaDatabases::of(const std::string& file) {
  const auto [place, isNew] = read_.try_emplace(file);
  Read& read = place->second;
  if (!isNew) return read;
  // A server without its tool may still have entries.
  if (::access(tool_.path.c_str(), F_OK) != 0) {
    read.cause = "there is no " + tool_.path;
    return read;
  }
  SambaTool tool = tool_;
  tool.configuration = file;
  read.entries = readSambaEntries(tool, accounts_, &read.cause);
  return read;
}

std::optional<ServiceAccess> sambaAccess(const Server& server, const std::string& account,
                                         AccessMoment moment, SambaDatabases& databases) {
  std::set<std::string> files;
  for (const std::string& title : server.titles("smbd")) {
    if (!title.starts_with("smbd:") && !title.starts_with("smbd[")) {
      files.insert(configurationOf(title));
    }
  }
  std::vector<ServiceAccess> all;
  all.reserve(files.size());
  for (const std::string& file : files)
    all.push_back(judgeServer(server, account, moment, file, databases));
  return all.empty() ? std::nullopt : std::optional(worstOf(all));
}

}  // namespace zevo::access
