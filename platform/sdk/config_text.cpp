#include "sdk/config_text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <optional>

#include <climits>
#include <toml++/toml.h>

#include "base/text.h"

namespace zevo {
namespace {

// One key: its name, what a value must be, and the reader, which returns false for any other.
struct Key {
  const char* name;
  const char* rule;
  bool (*read)(const toml::node& value, Config* config);
};

std::optional<int> numberIn(const toml::node& value, int lowest, int highest) {
  const auto* number = value.as_integer();
  if (number == nullptr || number->get() < lowest || number->get() > highest) return std::nullopt;
  return static_cast<int>(number->get());
}

bool readPath(const toml::node& value, std::string* path) {
  constexpr std::size_t kLongest = PATH_MAX - 512;  // names beside it are longer
  const auto* text = value.as_string();
  if (text == nullptr || !text->get().starts_with('/') || text->get().size() > kLongest) {
    return false;
  }
  if (text->get().ends_with('/') || text->get().find('\0') != std::string::npos) return false;
  *path = text->get();
  return true;
}

bool readLanguage(const toml::node& value, Config* config) {
  const auto* text = value.as_string();
  if (text == nullptr || text->get().size() > 32) return false;
  const bool isName = std::all_of(text->get().begin(), text->get().end(), [](char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '-';
  });
  if (isName) config->language = text->get();
  return isName;
}

bool readSessionFile(const toml::node& value, Config* config) {
  return readPath(value, &config->sessionFile);
}

bool readIdleMinutes(const toml::node& value, Config* config) {
  const auto number = numberIn(value, 1, 1440);
  if (number) config->idleLimit = std::chrono::minutes(*number);
  return number.has_value();
}

bool readLoginHours(const toml::node& value, Config* config) {
  const auto number = numberIn(value, 1, 168);
  if (number) config->loginLimit = std::chrono::hours(*number);
  return number.has_value();
}

bool readToolSeconds(const toml::node& value, Config* config) {
  const auto number = numberIn(value, 1, 120);
  if (number) config->toolLimit = std::chrono::seconds(*number);
  return number.has_value();
}

bool readSmbstatus(const toml::node& value, Config* config) {
  return readPath(value, &config->smbstatus);
}

bool readPdbedit(const toml::node& value, Config* config) {
  return readPath(value, &config->pdbedit);
}

bool readStateFolder(const toml::node& value, Config* config) {
  return readPath(value, &config->stateFolder);
}

bool readListFolder(const toml::node& value, Config* config) {
  return readPath(value, &config->listFolder);
}

bool readGroup(const toml::node& value, std::string* group) {
  const auto* text = value.as_string();
  if (text == nullptr || text->get().size() > 255) return false;
  if (text->get().find_first_of(std::string_view(":,\n\0", 4)) != std::string::npos) return false;
  *group = text->get();
  return true;
}

bool readAdministratorsGroup(const toml::node& value, Config* config) {
  return readGroup(value, &config->administratorsGroup);
}

bool readMinAdmins(const toml::node& value, Config* config) {
  const auto number = numberIn(value, 0, 1000);
  if (number) config->minAdmins = *number;
  return number.has_value();
}

bool readWebSocket(const toml::node& value, Config* config) {
  return readPath(value, &config->webSocket);
}

bool readWebGroup(const toml::node& value, Config* config) {
  return readGroup(value, &config->webGroup);
}

bool readLocalSocket(const toml::node& value, Config* config) {
  return readPath(value, &config->localSocket);
}

// A path, or "" for the default.
bool readPathOrNone(const toml::node& value, std::string* path) {
  const auto* text = value.as_string();
  if (text == nullptr || !text->get().empty()) return readPath(value, path);
  path->clear();
  return true;
}

bool readRootPasswordLogin(const toml::node& value, Config* config) {
  const auto* flag = value.as_boolean();
  if (flag != nullptr) config->rootPasswordLogin = flag->get();
  return flag != nullptr;
}

bool readModuleFolder(const toml::node& value, Config* config) {
  return readPathOrNone(value, &config->moduleFolder);
}

bool readPamFolder(const toml::node& value, Config* config) {
  return readPathOrNone(value, &config->pamFolder);
}

bool readMaxCalls(const toml::node& value, Config* config) {
  const auto number = numberIn(value, 32, 1024);
  if (number) config->maxCalls = *number;
  return number.has_value();
}

bool readCallSeconds(const toml::node& value, Config* config) {
  const auto number = numberIn(value, 1, 3600);
  if (number) config->callLimit = std::chrono::seconds(*number);
  return number.has_value();
}

constexpr std::array<Key, 19> kKeys = {{
    {"language", "must be the name of a language such as \"de\", or \"\"", &readLanguage},
    {"session_file", "must be an absolute path in quotes", &readSessionFile},
    {"idle_minutes", "must be 1 to 1440", &readIdleMinutes},
    {"login_hours", "must be 1 to 168", &readLoginHours},
    {"tool_seconds", "must be 1 to 120", &readToolSeconds},
    {"smbstatus", "must be an absolute path in quotes", &readSmbstatus},
    {"pdbedit", "must be an absolute path in quotes", &readPdbedit},
    {"state_folder", "must be an absolute path in quotes", &readStateFolder},
    {"list_folder", "must be an absolute path in quotes", &readListFolder},
    {"administrators_group", "must be the name of a group, or \"\"", &readAdministratorsGroup},
    {"min_admins", "must be 0 to 1000", &readMinAdmins},
    {"web_socket", "must be an absolute path in quotes", &readWebSocket},
    {"web_group", "must be the name of a group, or \"\"", &readWebGroup},
    {"local_socket", "must be an absolute path in quotes", &readLocalSocket},
    {"root_password_login", "must be true or false", &readRootPasswordLogin},
    {"module_folder", "must be an absolute path in quotes, or \"\"", &readModuleFolder},
    {"pam_folder", "must be an absolute path in quotes, or \"\"", &readPamFolder},
    {"max_calls", "must be 32 to 1024", &readMaxCalls},
    {"call_seconds", "must be 1 to 3600", &readCallSeconds},
}};

std::string shown(const toml::node& value) {
  if (const auto* number = value.as_integer()) return std::to_string(number->get());
  if (const auto* text = value.as_string()) return '"' + printable(text->get(), 80) + '"';
  if (const auto* flag = value.as_boolean()) return flag->get() ? "true" : "false";
  if (value.is_floating_point()) return "a fraction";
  if (value.is_table()) return "a table";
  return value.is_array() ? "an array" : "a date or time";
}

std::string unknownKey(std::string_view key) {
  std::string text = "there is no key \"" + printable(key, 80) + "\"; the keys are ";
  for (const Key& known : kKeys)
    text += std::string(&known == kKeys.data() ? "" : ", ") + known.name;
  return text;
}

// The error in one entry; empty if there is none.
std::string readEntry(std::string_view name, const toml::node& value, Config* config) {
  const auto* key = std::find_if(kKeys.begin(), kKeys.end(),
                                 [name](const Key& known) { return name == known.name; });
  if (key == kKeys.end()) return unknownKey(name);
  if (key->read(value, config)) return {};
  return std::string(key->name) + " " + key->rule + ", found " + shown(value);
}

}  // namespace

std::string atLine(const std::string& path, unsigned line, const std::string& reason) {
  return printable(path, 4096) + ":" + std::to_string(line) + ": " + reason;
}

bool parseConfig(std::string_view text, const std::string& path, Config* config, ConfigLines* lines,
                 std::string* error) {
  toml::table table;
  try {
    table = toml::parse(text, path);
  } catch (const toml::parse_error& failure) {
    *error = atLine(path, failure.source().begin.line, printable(failure.description(), 400));
    return false;
  }
  Config read = *config;
  ConfigLines readLines;
  for (const auto& [name, value] : table) {
    const unsigned line = name.source().begin.line;
    const std::string reason = readEntry(name.str(), value, &read);
    if (!reason.empty()) {
      *error = atLine(path, line, reason);
      return false;
    }
    readLines.emplace(name.str(), line);
  }
  *config = read;
  *lines = std::move(readLines);
  return true;
}

}  // namespace zevo
