// A whole terminal, borrowed.
#pragma once

#include <optional>
#include <string>
#include <termios.h>
#include <vector>

namespace cli {

// Shows lines on the alternate screen of the terminal at `output`, without a cursor, and without
// echo of what is typed at `input` where that is a terminal too. The terminal is given back as it
// was by leave(), and by the destructor.
class Screen {
 public:
  Screen(int input, int output);
  ~Screen();
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  // Does nothing on a screen that is borrowed already.
  void enter();
  // Does nothing on a screen that is given back already.
  void leave();

  // Replaces what is shown by `lines`, none wider than the terminal and no more than it has rows.
  // false where the terminal takes nothing any more.
  bool draw(const std::vector<std::string>& lines);

 private:
  int input_;
  int output_;
  bool isEntered_ = false;
  std::optional<termios> modes_;  // of the input, before
};

}  // namespace cli
