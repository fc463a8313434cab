#include "cgi/session_record.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace zevo {
namespace {

constexpr int kDeepest = 8;

struct TokenerDeleter {
  void operator()(json_tokener* tokener) const { json_tokener_free(tokener); }
};

// The object in `text`, if it is the whole text, or null.
JsonObject parseWith(int flags, std::string_view text) {
  const std::unique_ptr<json_tokener, TokenerDeleter> tokener(json_tokener_new_ex(kDeepest));
  if (!tokener) return owned(nullptr);
  json_tokener_set_flags(tokener.get(), flags);
  JsonObject object =
      owned(json_tokener_parse_ex(tokener.get(), text.data(), static_cast<int>(text.size())));
  const bool isWhole = json_tokener_get_error(tokener.get()) == json_tokener_success &&
                       json_tokener_get_parse_end(tokener.get()) == text.size();
  if (!isWhole || !json_object_is_type(object.get(), json_type_object)) return owned(nullptr);
  return object;
}

// In strict mode json-c 0.18 treats each byte above 127 as a control character, so the syntax is
// checked without these.
JsonObject parseObject(std::string_view text) {
  std::string ascii(text);
  std::replace_if(
      ascii.begin(), ascii.end(), [](char c) { return static_cast<unsigned char>(c) > 127; }, '?');
  if (!parseWith(JSON_TOKENER_STRICT, ascii)) return owned(nullptr);
  return parseWith(JSON_TOKENER_VALIDATE_UTF8, text);
}

std::string_view withoutLineBreak(std::string_view line) {
  if (line.ends_with('\n')) line.remove_suffix(1);
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

// JSON does not allow them in strings, which json-c does not check.
bool hasControlCharacter(std::string_view line) {
  return std::any_of(line.begin(), line.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x20; });
}

// The only member of a record, or null.
const lh_entry* onlyMember(json_object* record) {
  if (!json_object_is_type(record, json_type_object) || json_object_object_length(record) != 1) {
    return nullptr;
  }
  return json_object_get_object(record)->head;
}

}  // namespace

bool isSessionId(std::string_view id) {
  return !id.empty() && id.size() <= kLongestSessionId &&
         std::all_of(id.begin(), id.end(), [](char c) {
           const auto byte = static_cast<unsigned char>(c);
           return byte < 0x80 && (std::isalnum(byte) != 0 || c == '-' || c == '_');
         });
}

JsonObject parseSessionRecord(std::string_view line) {
  if (line.size() > kLongestSessionLine) return owned(nullptr);
  line = withoutLineBreak(line);
  if (!line.starts_with('"') || hasControlCharacter(line)) return owned(nullptr);
  line.remove_prefix(1);
  const std::size_t end = line.find("\":");
  if (end == std::string_view::npos) return owned(nullptr);
  const std::string id(line.substr(0, end));
  if (!isSessionId(id)) return owned(nullptr);
  JsonObject fields = parseObject(line.substr(end + 2));
  JsonObject record = owned(json_object_new_object());
  if (!fields || !record) return owned(nullptr);
  if (json_object_object_add(record.get(), id.c_str(), fields.get()) != 0) return owned(nullptr);
  static_cast<void>(fields.release());  // now owned by the record
  return record;
}

const char* sessionIdOf(json_object* record) {
  const lh_entry* member = onlyMember(record);
  return member != nullptr ? static_cast<const char*>(lh_entry_k(member)) : nullptr;
}

json_object* sessionField(json_object* record, int field) {
  const lh_entry* member = onlyMember(record);
  if (member == nullptr) return nullptr;
  auto* fields = static_cast<json_object*>(lh_entry_v(member));
  json_object* value = nullptr;
  json_object_object_get_ex(fields, std::to_string(field).c_str(), &value);
  return value;
}

const char* sessionText(json_object* record, int field) {
  json_object* value = sessionField(record, field);
  if (!json_object_is_type(value, json_type_string)) return nullptr;
  const char* text = json_object_get_string(value);
  const auto length = static_cast<std::size_t>(json_object_get_string_len(value));
  return std::strlen(text) == length ? text : nullptr;
}

std::int64_t sessionNumber(json_object* record, int field, std::int64_t fallback) {
  json_object* value = sessionField(record, field);
  return json_object_is_type(value, json_type_int) ? json_object_get_int64(value) : fallback;
}

bool isHiddenSession(json_object* record) {
  json_object* hide = nullptr;
  json_object* flags = sessionField(record, kFlagsField);
  return json_object_object_get_ex(flags, "hide", &hide) != 0 && json_object_get_boolean(hide) != 0;
}

std::string lockFileOf(const std::string& sessionFile) {
  return sessionFile + ".lock";
}

std::string keyFileOf(const std::string& sessionFile) {
  return sessionFile + ".key";
}

std::string accessTimeFolderOf(const std::string& sessionFile) {
  return sessionFile + ".access.time";
}

}  // namespace zevo
