#include "zevo/read_notes.h"

#include <utility>

namespace zevo {
namespace {

thread_local std::vector<ReadNote> latest;

std::string textIn(const Json::Value& object, const char* key) {
  const Json::Value& member = object[key];
  return member.isString() ? member.asString() : std::string();
}

Json::Value asJson(const ReadNote& note) {
  Json::Value object(Json::objectValue);
  object["code"] = note.code;
  if (!note.service.empty()) object["service"] = note.service;
  if (!note.detail.empty()) object["detail"] = note.detail;
  return object;
}

}  // namespace

std::vector<ReadNote> readNotes() {
  return latest;
}

void clearReadNotes() {
  latest.clear();
}

void setReadNotes(std::vector<ReadNote> notes) {
  latest = std::move(notes);
}

Json::Value readNotesAsJson(const std::vector<ReadNote>& notes) {
  Json::Value array(Json::arrayValue);
  for (const ReadNote& note : notes) array.append(asJson(note));
  return array;
}

std::vector<ReadNote> readNotesFromJson(const Json::Value& array) {
  std::vector<ReadNote> notes;
  if (!array.isArray()) return notes;
  for (const Json::Value& element : array) {
    if (!element.isObject()) continue;
    ReadNote note{textIn(element, "code"), textIn(element, "service"), textIn(element, "detail")};
    if (!note.code.empty()) notes.push_back(std::move(note));
  }
  return notes;
}

}  // namespace zevo
