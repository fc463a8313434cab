#include "fakes/session_records.h"

#include <cstdio>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>
#include <json-c/json.h>

#include "zevo/cgi.h"

#include "fakes/allocation.h"
#include "fakes/platform.h"

extern "C" {

void ZevoCgiInit(const char* name, ZEVO_CGI* cgi) {
  const fakes::AllocationPause pause;
  fakes::Platform::current("ZevoCgiInit")
      .calls.record(std::string("ZevoCgiInit(\"") + name + "\")");
  std::snprintf(cgi->lock, sizeof cgi->lock, "/run/lock");
}

int ZevoCgiBeginCriticalSection(const char* lock, int milliseconds) {
  const fakes::AllocationPause pause;
  return fakes::Platform::current("ZevoCgiBeginCriticalSection")
      .sessionRecords.enter(lock, milliseconds);
}

void ZevoCgiEndCriticalSection(int handle) {
  const fakes::AllocationPause pause;
  fakes::Platform::current("ZevoCgiEndCriticalSection").sessionRecords.leave(handle);
}

int ZevoCgiJsonRecordInit(json_object** record, const char* line) {
  const fakes::AllocationPause pause;
  return fakes::Platform::current("ZevoCgiJsonRecordInit").sessionRecords.init(record, line);
}

int ZevoCgiJsonRecordParse(json_object* record, const char** client, const char** user,
                           const char** sessionId, int reserved1, int reserved2) {
  const fakes::AllocationPause pause;
  return fakes::Platform::current("ZevoCgiJsonRecordParse")
      .sessionRecords.parse(record, client, user, sessionId, reserved1, reserved2);
}

int ZevoCgiJsonRecordGet(json_object* record, int field, char* buffer, int size) {
  const fakes::AllocationPause pause;
  return fakes::Platform::current("ZevoCgiJsonRecordGet")
      .sessionRecords.get(record, field, buffer, size);
}

}  // extern "C"

namespace fakes {

namespace {

constexpr int kHandle = 7;

std::vector<std::string> fieldsOf(const std::string& line) {
  std::vector<std::string> fields(1);
  for (const char letter : line) {
    if (letter == '|') {
      fields.emplace_back();
    } else if (letter != '\n') {
      fields.back() += letter;
    }
  }
  return fields;
}

void onRelease(json_object* /*record*/, void* owner) {
  static_cast<SessionRecords*>(owner)->released();
}

}  // namespace

SessionRecords::~SessionRecords() {
  EXPECT_EQ(records_, 0) << "records of the session file that were not given back";
  EXPECT_FALSE(inside_) << "the critical section was not left";
}

int SessionRecords::enter(const char* lock, int milliseconds) {
  calls_.record(std::string("ZevoCgiBeginCriticalSection(") + lock + ", " +
                std::to_string(milliseconds) + ") as " + ids_.text());
  EXPECT_FALSE(inside_) << "the critical section is never nested";
  if (refusals_.errorOfNextCall("ZevoCgiBeginCriticalSection") != 0) return -1;
  inside_ = true;
  return kHandle;
}

void SessionRecords::leave(int handle) {
  calls_.record("ZevoCgiEndCriticalSection() as " + ids_.text());
  EXPECT_EQ(handle, kHandle);
  EXPECT_TRUE(inside_);
  inside_ = false;
}

int SessionRecords::init(json_object** record, const char* line) {
  calls_.record(std::string("ZevoCgiJsonRecordInit(") +
                std::string(line, std::strcspn(line, "\n")) + ")");
  EXPECT_TRUE(inside_) << "the session file is read without the critical section";
  json_object_put(*record);
  *record = nullptr;
  const std::vector<std::string> fields = fieldsOf(line);
  if (fields.size() < 2) return 0;
  *record = json_object_new_array();
  ++records_;
  json_object_set_userdata(*record, this, onRelease);
  for (const std::string& field : fields) {
    json_object_array_add(*record, json_object_new_string(field.c_str()));
  }
  return 1;
}

int SessionRecords::parse(json_object* record, const char** client, const char** user,
                          const char** sessionId, int reserved1, int reserved2) {
  calls_.record("ZevoCgiJsonRecordParse(" + std::to_string(reserved1) + ", " +
                std::to_string(reserved2) + ")");
  if (json_object_array_length(record) < 3) return 0;
  const char** texts[] = {client, user, sessionId};
  for (std::size_t i = 0; i < 3; ++i) {
    *texts[i] = json_object_get_string(json_object_array_get_idx(record, i));
  }
  return 1;
}

int SessionRecords::get(json_object* record, int field, char* buffer, int size) {
  calls_.record("ZevoCgiJsonRecordGet(" + std::to_string(field) + ", " + std::to_string(size) +
                ")");
  const char* flags = json_object_get_string(json_object_array_get_idx(record, 3));
  std::snprintf(buffer, static_cast<std::size_t>(size), "%s",
                flags != nullptr ? flags : R"({"hide": true})");
  return flags != nullptr ? 1 : 0;
}

void SessionRecords::released() {
  const AllocationPause pause;
  calls_.record("json_object_put(record)");
  --records_;
}

}  // namespace fakes
