// What the program writes to standard output while the value lives.
#pragma once

#include <string>

namespace module_test {

class CapturedOutput {
 public:
  CapturedOutput();
  // Gives standard output back, if text() has not.
  ~CapturedOutput();
  CapturedOutput(const CapturedOutput&) = delete;
  CapturedOutput& operator=(const CapturedOutput&) = delete;

  // Ends the capture; all that was written, byte for byte.
  std::string text();

 private:
  void restore();

  int file_;
  int standardOutput_;
};

}  // namespace module_test
