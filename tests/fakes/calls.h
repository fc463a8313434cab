// The ordered log of the calls from the code under test to the platform and the system.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace fakes {

// Each call is one text, "function(arguments)".
class Calls {
 public:
  void record(std::string call);
  // Records a call that the test has not scripted, and fails the test.
  void unscripted(const std::string& call);

  [[nodiscard]] const std::vector<std::string>& all() const { return calls_; }
  // All but the reads of effective ids, which every privileged section makes.
  [[nodiscard]] std::vector<std::string> steps() const;
  // Those of the named functions.
  [[nodiscard]] std::vector<std::string> of(
      std::initializer_list<std::string_view> functions) const;
  void clear() { calls_.clear(); }
  // From here on calls of `function` are recorded and then throw std::bad_alloc.
  void throwAt(std::string function) { throwing_ = std::move(function); }

 private:
  std::vector<std::string> calls_;
  std::string throwing_;
};

}  // namespace fakes
