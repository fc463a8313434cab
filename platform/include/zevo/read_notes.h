// What the latest read of the registry could not tell, for hosts that pass it on beside the list.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <json/value.h>

#include "zevo/export.h"

namespace zevo {

// Connections of a service may be missing: its source could not be read, or not all of it.
inline constexpr std::string_view kConnectionsMissing = "connections_missing";
// The connections are there, but something of what the service's own tool or file would tell of
// them (user, resource) is not.
inline constexpr std::string_view kDetailsMissing = "details_missing";

struct ReadNote {
  std::string code;     // one of the two above
  std::string service;  // as the list has it, "SSH" standing for SFTP too; empty: any of them
  std::string detail;   // the cause, a sentence without a full stop; may name paths and processes

  bool operator==(const ReadNote&) const = default;
};

// The notes of this thread's latest ZEVOCurConnGet, which begins with none; none where it failed.
// A host clears them before a call that may not read the registry.
ZEVO_EXPORT std::vector<ReadNote> readNotes();
ZEVO_EXPORT void clearReadNotes();

// Platform code: the notes of a read that succeeded.
ZEVO_EXPORT void setReadNotes(std::vector<ReadNote> notes);

// An array of objects with the members "code", "service" and "detail", without those that are
// empty.
ZEVO_EXPORT Json::Value readNotesAsJson(const std::vector<ReadNote>& notes);
// The notes in such an array; elements that are none, and a value that is no array, give none.
ZEVO_EXPORT std::vector<ReadNote> readNotesFromJson(const Json::Value& array);

}  // namespace zevo
