// The syntax of the session file.
//
// One line a login, at most 640 bytes with its line feed:
//
//   "ID":{"1":"CLIENT","2":"USER","3":NUMBER,"4":START,"5":"BROWSER","6":UID,"7":"MARK","8":END,
//     "16":{"hide":true}}
//
// That is the member of a JSON object: its name, the session id in quotes at the very start of the
// line, is the line's key, and its value holds the numbered fields. An id is base64url text, so it
// reads the same escaped and unescaped and is always a safe file name. Fields that have no value
// are left out; readers ignore numbers that they do not know.
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
  kNumberField = 3,                  // integer above 0: the login's own number
  kStartField = 4,                   // integer: start in seconds since 1970
  kBrowserField = 5,                 // text: the browser's short name
  kUidField = 6,                     // integer: number of the account that logged in
  kMarkField = 7,                    // text: keyed hash of the account's password field
  kEndField = 8,                     // integer: end in seconds since 1970, of a view login alone
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
// Null where the line is no record.
JsonObject parseSessionRecord(std::string_view line);

// Of a record: its id; null where it is none that parseSessionRecord made. It belongs to the
// record.
const char* sessionIdOf(json_object* record);
// Field `field`; null where it has none. It belongs to the record.
json_object* sessionField(json_object* record, int field);
// Text of a field that is a string without NUL; null otherwise. It belongs to the record.
const char* sessionText(json_object* record, int field);
// Value of a field that is an integer; `fallback` otherwise.
std::int64_t sessionNumber(json_object* record, int field, std::int64_t fallback);
// Whether its flags say "hide".
bool isHiddenSession(json_object* record);

// Paths beside the session file.
std::string lockFileOf(const std::string& sessionFile);
std::string keyFileOf(const std::string& sessionFile);
std::string accessTimeFolderOf(const std::string& sessionFile);

}  // namespace zevo
