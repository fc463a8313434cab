// The store of the report's queue nodes.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

// Allocates records of one type. A released record remains readable until the store is cleared, and
// may be released again: the report reads nodes after releasing them, and releases them again.
template <typename Record>
class RecordStore {
 public:
  // A new record; valid until clear().
  Record* allocate() {
    if (used_ == kRecordsInBlock || blocks_.empty()) {
      blocks_.push_back(std::make_unique<Record[]>(kRecordsInBlock));
      used_ = 0;
    }
    return &blocks_.back()[used_++];
  }

  void release(Record* /*record*/) {}

  void clear() {
    blocks_.clear();
    used_ = 0;
  }

 private:
  static constexpr std::size_t kRecordsInBlock = 1024;
  std::vector<std::unique_ptr<Record[]>> blocks_;
  std::size_t used_ = 0;
};
