// The syntax of the session file.
//
// One line per login, at most 640 bytes with its line feed:
//
//   "ID":{"1":"CLIENT","2":"USER","3":NUMBER,"4":START,"5":"BROWSER","6":UID,"7":"MARK","8":END,
//     "16":{"hide":true}}
//
// It is a member of a JSON object: its name, the session id in quotes at the start of the line, is
// the line's key, and its value has the numbered fields. An id is base64url text, so that it needs
// no escaping and is always a safe file name. Fields without a value are left out; readers ignore
// unknown numbers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <json-c/json.h>

#include "zevo/cgi.h"

namespace zevo {

enum SessionField {
  kClientField = 1,                  // text: numeric address of the browser
  kUserField = 2,                    // text: login name
  kNumberField = 3,                  // integer above 0: the number of the login
  kStartField = 4,                   // integer: start in seconds since 1970
  kBrowserField = 5,                 // text: the browser's short name
  kUidField = 6,                     // integer: user id of the account that logged in
  kMarkField = 7,                    // text: keyed hash of the account's password field
  kEndField = 8,                     // integer: end in seconds since 1970, only of a view login
  kFlagsField = kZevoCgiFlagsField,  // object: "hide" true keeps the login out of every list
};

inline constexpr std::size_t kLongestSessionLine = 640;  // with its line feed
inline constexpr std::size_t kLongestSessionFile =
    64UL * 1024 * 1024;  // above it something is wrong
inline constexpr std::size_t kLongestSessionId = 128;

using JsonObject = std::unique_ptr<json_object, int (*)(json_object*)>;
inline JsonObject owned(json_object* object) {
  return {object, &json_object_put};
}

// Whether `id` is 1 to 128 characters of base64url (A-Z a-z 0-9 - _).
bool isSessionId(std::string_view id);

// The record of one line, with or without its line break: an object of one member, named by the id.
// Null if the line is not a record.
JsonObject parseSessionRecord(std::string_view line);

// The id of a record; null if parseSessionRecord did not create it. It belongs to the record.
const char* sessionIdOf(json_object* record);
// The field `field`; null if it is missing. It belongs to the record.
json_object* sessionField(json_object* record, int field);
// Text of a field that is a string without NUL; null otherwise. It belongs to the record.
const char* sessionText(json_object* record, int field);
// Value of a field that is an integer; `fallback` otherwise.
std::int64_t sessionNumber(json_object* record, int field, std::int64_t fallback);
// Whether its flags contain "hide".
bool isHiddenSession(json_object* record);

// Paths beside the session file.
std::string lockFileOf(const std::string& sessionFile);
std::string keyFileOf(const std::string& sessionFile);
std::string accessTimeFolderOf(const std::string& sessionFile);

}  // namespace zevo
