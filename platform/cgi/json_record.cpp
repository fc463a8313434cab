// The records of the session file for callers in C.
#include <cstring>

#include "zevo/cgi.h"
#include "zevo/error.h"

#include "cgi/session_record.h"

extern "C" {

int ZevoCgiJsonRecordInit(json_object** record, const char* line) {
  json_object_put(*record);
  *record = line != nullptr ? zevo::parseSessionRecord(line).release() : nullptr;
  if (*record == nullptr) ZEVO_ERR_SET(ZEVO_ERR_BAD_TEXT);
  return *record != nullptr ? 1 : 0;
}

int ZevoCgiJsonRecordParse(json_object* record, const char** client, const char** user,
                           const char** sessionId, int /*reserved1*/, int /*reserved2*/) {
  const char* foundClient = zevo::sessionText(record, zevo::kClientField);
  const char* foundUser = zevo::sessionText(record, zevo::kUserField);
  const char* foundId = zevo::sessionIdOf(record);
  if (foundClient == nullptr || foundUser == nullptr || foundId == nullptr) {
    ZEVO_ERR_SET(ZEVO_ERR_BAD_TEXT);
    return 0;
  }
  *client = foundClient;
  *user = foundUser;
  *sessionId = foundId;
  return 1;
}

int ZevoCgiJsonRecordGet(json_object* record, int field, char* buffer, int size) {
  json_object* value = zevo::sessionField(record, field);
  const char* text = nullptr;
  if (json_object_is_type(value, json_type_string)) {
    text = zevo::sessionText(record, field);
  } else if (value != nullptr) {
    text = json_object_to_json_string_ext(value,
                                          JSON_C_TO_STRING_PLAIN | JSON_C_TO_STRING_NOSLASHESCAPE);
  }
  if (text == nullptr || size <= 0 || std::strlen(text) >= static_cast<std::size_t>(size)) {
    ZEVO_ERR_SET(ZEVO_ERR_BAD_TEXT);
    return 0;
  }
  std::memcpy(buffer, text, std::strlen(text) + 1);
  return 1;
}

}  // extern "C"
