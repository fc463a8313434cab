#include "fakes/connection_source.h"

#include <cstring>

#include <gtest/gtest.h>

#include "zevo/login_log.h"

#include "fakes/allocation.h"
#include "fakes/platform.h"

extern "C" {

int ZEVOCurConnGet(_tag_ZEVO_CURCONN_** records) {
  const fakes::AllocationPause pause;
  return fakes::Platform::current("ZEVOCurConnGet").services.read("ZEVOCurConnGet()", records);
}

int ZEVOCgiLoginUserCurrentLog(const char* sessionFilePath, _tag_ZEVO_CURCONN_** records) {
  const fakes::AllocationPause pause;
  return fakes::Platform::current("ZEVOCgiLoginUserCurrentLog")
      .logins.read(std::string("ZEVOCgiLoginUserCurrentLog(") + sessionFilePath + ")", records);
}

}  // extern "C"

namespace fakes {

namespace {

std::size_t sizeOf(const std::vector<Record>& records) {
  std::size_t size = records.size() * sizeof(_tag_ZEVO_CURCONN_) + 1;
  for (const Record& record : records) {
    size += record.time.size() + record.from.size() + record.user.size() + record.descr.size() + 4;
  }
  return size;
}

// Copies `text` to *end, moves *end behind it.
const char* place(const std::string& text, char** end) {
  char* start = *end;
  std::memcpy(start, text.c_str(), text.size() + 1);
  *end += text.size() + 1;
  return start;
}

void fill(const std::vector<Record>& records, _tag_ZEVO_CURCONN_* array) {
  char* end = static_cast<char*>(static_cast<void*>(array + records.size()));
  for (std::size_t i = 0; i < records.size(); ++i) {
    const Record& record = records[i];
    array[i].pid = record.pid;
    array[i].time = place(record.time, &end);
    array[i].from = place(record.from, &end);
    array[i].user = place(record.user, &end);
    array[i].descr = place(record.descr, &end);
    array[i].type = record.type;
  }
}

}  // namespace

void ConnectionSource::answer(std::vector<Record> records) {
  const int count = static_cast<int>(records.size());
  answers_.push_back({std::move(records), count, count != 0});
}

void ConnectionSource::answerWithBlock(int result) {
  answers_.push_back({{}, result, true});
}

void ConnectionSource::answerWithoutBlock(int result) {
  answers_.push_back({{}, result, false});
}

int ConnectionSource::read(const std::string& call, _tag_ZEVO_CURCONN_** records) {
  EXPECT_EQ(*records, nullptr) << "the pointer given to " << call;
  if (answers_.empty()) {
    calls_.unscripted(call);
    return -1;
  }
  calls_.record(call + " as " + ids_.text());
  const Answer answer = answers_.front();
  answers_.pop_front();
  if (answer.withBlock) {
    *records = static_cast<_tag_ZEVO_CURCONN_*>(blocks_.make(sizeOf(answer.records), "records"));
    fill(answer.records, *records);
  }
  return answer.result;
}

}  // namespace fakes
