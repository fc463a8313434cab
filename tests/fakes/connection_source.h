// A source of connection records: the registry, and the web server's login log.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "zevo/connections.h"

#include "fakes/blocks.h"
#include "fakes/ids.h"

namespace fakes {

struct Record {
  int pid = 0;
  std::string time;
  std::string from;
  std::string user;
  std::string descr;
  int type = 0;
};

// Gives one scripted answer a read. A read beyond them is unscripted; the code under test must come
// with a null pointer.
class ConnectionSource {
 public:
  ConnectionSource(Calls& calls, Ids& ids, Blocks& blocks)
      : calls_(calls), ids_(ids), blocks_(blocks) {}

  // `records` in the order of the array.
  void answer(std::vector<Record> records);
  // Returns `result` with a block that holds no record.
  void answerWithBlock(int result);
  // Returns `result` and leaves the pointer null.
  void answerWithoutBlock(int result);
  // Answers not yet given are scripted no more.
  void forget() { answers_.clear(); }

  // One read, recorded as "call as uid:gid".
  int read(const std::string& call, _tag_ZEVO_CURCONN_** records);

 private:
  struct Answer {
    std::vector<Record> records;
    int result;
    bool withBlock;
  };
  Calls& calls_;
  Ids& ids_;
  Blocks& blocks_;
  std::deque<Answer> answers_;
};

}  // namespace fakes
