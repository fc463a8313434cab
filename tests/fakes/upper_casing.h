// Upper-casing of UTF-8 text.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "fakes/calls.h"

namespace fakes {

// Upper-cases ASCII letters once allowed. A failure leaves the upper-cased text behind all the
// same, so that using it shows.
class UpperCasing {
 public:
  struct Use {
    std::string source;
    const char* destination;
    int size;
    bool zeroed;  // whether the destination was all zero before
  };

  explicit UpperCasing(Calls& calls) : calls_(calls) {}

  void allow() { allowed_ = true; }
  void failFor(const std::string& source) { failing_.insert(source); }
  // What it was asked for, in order.
  [[nodiscard]] std::vector<std::string> sources() const;
  [[nodiscard]] const std::vector<Use>& uses() const { return uses_; }

  int run(const char* source, char* destination, int size);

 private:
  Calls& calls_;
  bool allowed_ = false;
  std::set<std::string> failing_;
  std::vector<Use> uses_;
};

}  // namespace fakes
