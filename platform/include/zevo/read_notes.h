// What the latest read of the registry could not determine, for hosts that report it with the list.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <json/value.h>

#include "zevo/export.h"

namespace zevo {

// Connections of a service may be missing: its source could not be read completely.
inline constexpr std::string_view kConnectionsMissing = "connections_missing";
// The connections are complete, but details from the service's own tool or file (user, resource)
// are missing.
inline constexpr std::string_view kDetailsMissing = "details_missing";

struct ReadNote {
  std::string code;     // one of the two above
  std::string service;  // its name in the list, "SSH" also for SFTP; empty: any service
  std::string detail;   // the cause, a sentence without a full stop; may name paths and processes

  bool operator==(const ReadNote&) const = default;
};

// The notes of this thread's latest ZEVOCurConnGet; none if it failed. Hosts clear them before a
// call that may not read the registry.
ZEVO_EXPORT std::vector<ReadNote> readNotes();
ZEVO_EXPORT void clearReadNotes();

// For platform code: the notes of a successful read.
ZEVO_EXPORT void setReadNotes(std::vector<ReadNote> notes);

// An array of objects with the members "code", "service" and "detail", without empty ones.
ZEVO_EXPORT Json::Value readNotesAsJson(const std::vector<ReadNote>& notes);
// The notes in such an array; invalid elements, and a value that is not an array, yield none.
ZEVO_EXPORT std::vector<ReadNote> readNotesFromJson(const Json::Value& array);

}  // namespace zevo
