// Memory that the platform hands to its caller.
#pragma once

#include <cstddef>
#include <map>
#include <string>

#include "fakes/calls.h"

namespace fakes {

// Every block must be released exactly once while the double lives. A released block is filled with
// 0xDD and stays allocated until then, so that reading it later shows and its address is not handed
// out again.
class Blocks {
 public:
  explicit Blocks(Calls& calls) : calls_(calls) {}
  ~Blocks();
  Blocks(const Blocks&) = delete;
  Blocks& operator=(const Blocks&) = delete;

  // A zero-filled block; `name` tells it in messages and calls.
  void* make(std::size_t size, const std::string& name);
  [[nodiscard]] bool owns(const void* block) const { return blocks_.count(block) != 0; }
  // Takes back a block through the function `through`. The call is recorded as "through(name)".
  void release(void* block, const std::string& through);

 private:
  struct Block {
    std::string name;
    std::size_t size;
    int releases;
  };
  Calls& calls_;
  std::map<const void*, Block> blocks_;
};

}  // namespace fakes
