// The built program on its own terminal.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <termios.h>
#include <vector>

#include "base/file_descriptor.h"
#include "cli/program.h"

namespace cli {

class TerminalSession {
 public:
  // Starts `program` with `arguments` on a new terminal of that size. TERM is "xterm"
  // where the program's environment has none.
  TerminalSession(const Program& program, const std::vector<std::string>& arguments, int columns,
                  int rows);
  ~TerminalSession();
  TerminalSession(const TerminalSession&) = delete;
  TerminalSession& operator=(const TerminalSession&) = delete;

  // Reads until `text` has come out since the last call that waited; false after 20 seconds.
  bool waitFor(std::string_view text);
  // Reads to the end of the program; its exit status, or -1 where a signal ended it.
  int waitForEnd();
  // Whether the program gets into the state stopped (true) or running within 20 seconds.
  bool waitForStop();

  void type(std::string_view keys) const;
  void resize(int columns, int rows) const;
  void signal(int number) const;

  // All output so far.
  [[nodiscard]] const std::string& output() const { return output_; }
  // The terminal's input modes.
  [[nodiscard]] tcflag_t localModes() const;
  // The lines of the last complete redraw, without colours.
  [[nodiscard]] std::vector<std::string> lastFrame() const;

 private:
  bool readSome(int milliseconds);

  zevo::FileDescriptor terminal_;
  pid_t child_ = -1;
  std::string output_;
  std::size_t seen_ = 0;
};

}  // namespace cli
