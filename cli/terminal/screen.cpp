#include "cli/terminal/screen.h"

#include <cstddef>
#include <string_view>

#include "cli/terminal/output.h"

namespace cli {
namespace {

// Private modes of xterm and its successors: 1049 is the alternate screen, 25 the cursor.
constexpr std::string_view kEnter = "\x1b[?1049h\x1b[?25l\x1b[2J";
constexpr std::string_view kLeave = "\x1b[?25h\x1b[?1049l";
constexpr std::string_view kHome = "\x1b[H";
constexpr std::string_view kEraseLine = "\x1b[K";
constexpr std::string_view kEraseBelow = "\x1b[J";

bool writeTerminal(int descriptor, std::string_view text) {
  return writeAll(descriptor, text) == Written::kAll;
}

}  // namespace

Screen::Screen(int input, int output) : input_(input), output_(output) {}

Screen::~Screen() {
  leave();
}

void Screen::enter() {
  if (isEntered_) return;
  isEntered_ = true;
  termios modes = {};
  if (tcgetattr(input_, &modes) == 0) {
    modes_ = modes;
    modes.c_lflag &= ~static_cast<tcflag_t>(ECHO | ICANON);
    modes.c_cc[VMIN] = 1;
    modes.c_cc[VTIME] = 0;
    tcsetattr(input_, TCSANOW, &modes);
  }
  writeTerminal(output_, kEnter);
}

void Screen::leave() {
  if (!isEntered_) return;
  isEntered_ = false;
  writeTerminal(output_, kLeave);
  if (modes_) tcsetattr(input_, TCSANOW, &*modes_);
  modes_.reset();
}

bool Screen::draw(const std::vector<std::string>& lines) {
  std::string text(kHome);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    if (i > 0) text += "\r\n";
    // Erase before the line: after a line that fills its row, erasing would remove its last
    // character.
    const bool isLast = i + 1 == lines.size();
    text.append(isLast ? kEraseBelow : kEraseLine).append(lines[i]);
  }
  return writeTerminal(output_, text);
}

}  // namespace cli
