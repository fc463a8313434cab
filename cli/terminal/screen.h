// Full-screen use of a terminal.
#pragma once

#include <optional>
#include <string>
#include <termios.h>
#include <vector>

namespace cli {

// Shows lines on the alternate screen of the terminal at `output`, without a cursor, and without
// echo at `input` if that is a terminal too. leave() and the destructor restore the terminal.
class Screen {
 public:
  Screen(int input, int output);
  ~Screen();
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  // Does nothing if the screen is already in use.
  void enter();
  // Does nothing if the screen is already restored.
  void leave();

  // Shows `lines` instead, none wider than the terminal and no more than it has rows. False if the
  // terminal is gone.
  bool draw(const std::vector<std::string>& lines);

 private:
  int input_;
  int output_;
  bool isEntered_ = false;
  std::optional<termios> modes_;  // of the input, before
};

}  // namespace cli
