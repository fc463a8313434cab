// Shows that an operation takes time.
#pragma once

#include <chrono>
#include <string>

namespace cli {

// On a terminal one line of standard error that is updated in place and removed at the end;
// elsewhere one line at the beginning.
class Progress {
 public:
  // `what` names the operation, "ending connections".
  explicit Progress(std::string what);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void show();

 private:
  std::string what_;
  bool isTerminal_;
  bool isShown_ = false;
  std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
};

}  // namespace cli
