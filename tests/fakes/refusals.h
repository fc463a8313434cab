// Which calls of the platform fail.
#pragma once

#include <map>
#include <string>

namespace fakes {

class Refusals {
 public:
  // The n-th call of `function` from now on (counted from 1) fails with `error` as its error code.
  void refuse(const std::string& function, int nth = 1, int error = 0x2A00);

  // For the double: counts a call. The error that it is to fail with, 0 for none.
  int errorOfNextCall(const std::string& function);

 private:
  std::map<std::string, int> calls_;
  std::map<std::string, std::map<int, int>> refused_;  // function, number of the call, error
};

}  // namespace fakes
