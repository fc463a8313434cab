#include "sdk/samba_entry.h"

#include <set>
#include <string_view>
#include <unistd.h>

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

// The names of all entries. It is not possible to query a single one, since the tool fails in the
// same way if the entry does not exist and if it cannot open the database.
std::optional<std::set<std::string_view>> parseNames(std::string_view output) {
  std::set<std::string_view> names;
  for (const std::string_view line : linesOf(output)) {
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos) return std::nullopt;
    names.insert(line.substr(0, colon));
  }
  return names;
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

std::optional<std::vector<SambaEntry>> readSambaEntries(const SambaTool& tool,
                                                        const std::vector<std::string>& names,
                                                        std::string* cause) {
  std::vector<SambaEntry> entries;
  if (::access(tool.path.c_str(), F_OK) != 0) return entries;
  const ToolResult list = run(tool, {"--list"});
  const auto known = list.complete ? parseNames(list.output) : std::nullopt;
  if (!known) {
    *cause = failure(tool, list.complete ? "gave an unreadable list" : list.cause);
    return std::nullopt;
  }
  for (const std::string& name : names) {
    if (!known->contains(name)) continue;
    auto entry = readEntry(tool, name, cause);
    if (!entry) return std::nullopt;
    entries.push_back(std::move(*entry));
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
