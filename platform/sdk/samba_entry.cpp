#include "sdk/samba_entry.h"

#include <array>
#include <string_view>
#include <system_error>
#include <unistd.h>

#include <climits>

#include "zevo/unicode.h"

#include "base/account_name.h"
#include "base/text.h"

namespace zevo {
namespace {

// The flags that pdbedit sets; it keeps the others (the kind of account) unchanged.
constexpr std::string_view kSettableFlags = "DHLNX";

// Names are always the value of an option, so that none is mistaken for an option.
ToolResult run(const SambaTool& tool, const std::vector<std::string>& arguments) {
  std::vector<std::string> all = {tool.path};
  if (!tool.configuration.empty()) all.push_back("--configfile=" + tool.configuration);
  all.insert(all.end(), arguments.begin(), arguments.end());
  return ToolRun(all, tool.limits).finish();
}

std::string userOption(const std::string& name) {
  return "--user=" + name;
}

std::string failure(const SambaTool& tool, const std::string& why) {
  return "Samba's " + printable(tool.path, 4096) + " " + why;
}

// The value of the first line "KEY:  VALUE"; nothing if there is none.
std::optional<std::string_view> valueOf(std::string_view output, std::string_view key) {
  for (std::string_view line : linesOf(output)) {
    if (!line.starts_with(key) || line.substr(key.size(), 1) != ":") continue;
    line.remove_prefix(key.size() + 1);
    const std::size_t start = line.find_first_not_of(' ');
    return start == std::string_view::npos ? std::string_view() : line.substr(start);
  }
  return std::nullopt;
}

// The entry printed by `pdbedit --verbose`: "Unix username: alice", "Account Flags: [DU    ]".
std::optional<SambaEntry> parseEntry(std::string_view output) {
  const auto name = valueOf(output, "Unix username");
  const auto flags = valueOf(output, "Account Flags");
  if (!name || !flags || !flags->starts_with('[') || !flags->ends_with(']')) return std::nullopt;
  SambaEntry entry{std::string(*name), {}};
  for (const char letter : flags->substr(1, flags->size() - 2)) {
    if (letter != ' ') entry.flags += letter;
  }
  return entry;
}

struct ListedEntry {
  std::string name;
  std::string uid;  // of the account that Samba takes it for
};

// All entries, "alice:1000:Alice Liddell". It is not possible to query a single one, since the tool
// fails in the same way if the entry does not exist and if it cannot open the database.
std::optional<std::vector<ListedEntry>> parseList(std::string_view output) {
  std::vector<ListedEntry> entries;
  for (std::string_view line : linesOf(output)) {
    if (line.find(':') == std::string_view::npos) return std::nullopt;
    const std::string_view name = takeUntil(':', line);
    entries.push_back({std::string(name), std::string(takeUntil(':', line))});
  }
  return entries;
}

std::string upperCased(const std::string& name) {
  std::array<char, 4UL * LOGIN_NAME_MAX> text{};
  const int size = static_cast<int>(text.size());
  if (!canBeAccountName(name) || !validUtf8(name) ||
      VLIBCUnicodeUTF8StrUpper(name.c_str(), text.data(), size) < 0)
    return name;
  return text.data();
}

// The entry that lets the account in, null in *found if there is none. Samba keeps a name as it was
// added and compares it without case. The ids tell accounts apart whose names differ in case alone,
// the names those that share an id. False, with *cause, if the account cannot be looked up.
bool findEntry(const SambaTool& tool, const std::vector<ListedEntry>& entries,
               const std::string& account, const ListedEntry** found, std::string* cause) {
  const std::string upper = upperCased(account);
  for (const ListedEntry& entry : entries) {
    *found = &entry;
    if (entry.name == account) return true;
    if (upperCased(entry.name) != upper) continue;
    std::optional<Account> known;
    if (const int error = tool.accounts->account(account, &known)) {
      *cause = "cannot look up the account \"" + printable(account, 256) +
               "\": " + std::generic_category().message(error);
      return false;
    }
    if (known && entry.uid == std::to_string(known->uid)) return true;
  }
  *found = nullptr;
  return true;
}

std::optional<SambaEntry> readEntry(const SambaTool& tool, const std::string& name,
                                    std::string* cause) {
  const ToolResult result = run(tool, {"--list", "--verbose", userOption(name)});
  auto entry = result.complete ? parseEntry(result.output) : std::nullopt;
  if (entry && entry->name == name) return entry;
  *cause = failure(tool, result.complete ? "gave an unreadable answer" : result.cause);
  return std::nullopt;
}

}  // namespace

std::optional<SambaEntries> readSambaEntries(const SambaTool& tool,
                                             const std::vector<std::string>& names,
                                             std::string* cause) {
  SambaEntries entries;
  if (::access(tool.path.c_str(), F_OK) != 0) return entries;
  const ToolResult list = run(tool, {"--list"});
  const auto known = list.complete ? parseList(list.output) : std::nullopt;
  if (!known) {
    *cause = failure(tool, list.complete ? "gave an unreadable list" : list.cause);
    return std::nullopt;
  }
  for (const std::string& name : names) {
    const ListedEntry* listed = nullptr;
    if (!findEntry(tool, *known, name, &listed, cause)) return std::nullopt;
    if (listed == nullptr) continue;
    auto entry = readEntry(tool, listed->name, cause);
    if (!entry) return std::nullopt;
    entries.emplace(name, std::move(*entry));
  }
  return entries;
}

bool setSambaDisabled(const SambaTool& tool, const SambaEntry& entry, bool isDisabled,
                      std::string* cause) {
  std::string flags = isDisabled ? "D" : "";
  for (const char letter : entry.flags) {
    if (letter != 'D' && kSettableFlags.find(letter) != std::string_view::npos) flags += letter;
  }
  const ToolResult result =
      run(tool, {userOption(entry.name), "--account-control=[" + flags + "]"});
  if (!result.complete) {
    *cause = failure(tool, result.cause);
    return false;
  }
  // It prints the resulting entry.
  const auto after = parseEntry(result.output);
  if (after && after->name == entry.name && after->isDisabled() == isDisabled) return true;
  *cause = failure(tool, isDisabled ? "did not set the flag" : "did not clear the flag");
  return false;
}

}  // namespace zevo
