#include "cli/terminal_session.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <poll.h>
#include <pty.h>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace cli {
namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds kHangLimit{120};
constexpr std::string_view kHome = "\x1b[H";

winsize windowOf(int columns, int rows) {
  winsize window = {};
  window.ws_col = static_cast<unsigned short>(columns);
  window.ws_row = static_cast<unsigned short>(rows);
  return window;
}

// `text` without sequences of ECMA-48: escape, bracket, anything up to a letter.
std::string withoutSequences(std::string_view text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\x1b') {
      plain += text[i];
      continue;
    }
    while (i + 1 < text.size() && isalpha(static_cast<unsigned char>(text[i])) == 0) ++i;
  }
  return plain;
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines(1);
  for (const char c : text) {
    if (c == '\n') lines.emplace_back();
    if (c != '\n' && c != '\r') lines.back() += c;
  }
  return lines;
}

bool hasVariable(const std::vector<std::string>& environment, std::string_view prefix) {
  return std::any_of(environment.begin(), environment.end(),
                     [&](const std::string& entry) { return entry.starts_with(prefix); });
}

}  // namespace

TerminalSession::TerminalSession(const Program& program, const std::vector<std::string>& arguments,
                                 int columns, int rows) {
  const std::vector<std::string> words = program.commandLine(arguments);
  std::vector<std::string> environment = program.environment;
  if (!hasVariable(environment, "TERM=")) environment.emplace_back("TERM=xterm");
  winsize window = windowOf(columns, rows);
  int terminal = -1;
  child_ = forkpty(&terminal, nullptr, nullptr, &window);
  if (child_ < 0) throw std::runtime_error("no terminal");
  if (child_ == 0) execute(words, environment);
  terminal_.reset(terminal);
}

TerminalSession::~TerminalSession() {
  if (child_ <= 0) return;
  kill(child_, SIGKILL);
  waitpid(child_, nullptr, 0);
}

bool TerminalSession::readSome(int milliseconds) {
  pollfd waiting = {terminal_.get(), POLLIN, 0};
  if (poll(&waiting, 1, milliseconds) <= 0) return true;
  std::array<char, 4096> bytes;
  const ssize_t count = read(terminal_.get(), bytes.data(), bytes.size());
  if (count <= 0) return count < 0 && errno == EINTR;
  output_.append(bytes.data(), static_cast<std::size_t>(count));
  return true;
}

bool TerminalSession::waitFor(std::string_view text) {
  const Clock::time_point deadline = Clock::now() + kHangLimit;
  while (true) {
    const std::size_t found = output_.find(text, seen_);
    if (found != std::string::npos) {
      seen_ = found + text.size();
      return true;
    }
    if (Clock::now() > deadline || !readSome(100)) return false;
  }
}

int TerminalSession::waitForEnd() {
  const Clock::time_point deadline = Clock::now() + kHangLimit;
  while (Clock::now() < deadline && readSome(100)) {
  }
  if (Clock::now() >= deadline) kill(child_, SIGKILL);
  int status = 0;
  waitpid(child_, &status, 0);
  child_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool TerminalSession::waitForStop() {
  const Clock::time_point deadline = Clock::now() + kHangLimit;
  int status = 0;
  while (Clock::now() < deadline) {
    readSome(10);
    if (waitpid(child_, &status, WNOHANG | WUNTRACED) == child_) return WIFSTOPPED(status);
  }
  return false;
}

void TerminalSession::type(std::string_view keys) const {
  if (write(terminal_.get(), keys.data(), keys.size()) < 0) throw std::runtime_error("no terminal");
}

void TerminalSession::resize(int columns, int rows) const {
  const winsize window = windowOf(columns, rows);
  ioctl(terminal_.get(), TIOCSWINSZ, &window);
}

void TerminalSession::signal(int number) const {
  kill(child_, number);
}

tcflag_t TerminalSession::localModes() const {
  termios modes = {};
  tcgetattr(terminal_.get(), &modes);
  return modes.c_lflag;
}

std::vector<std::string> TerminalSession::lastFrame() const {
  const std::size_t begin = output_.rfind(kHome);
  if (begin == std::string::npos) return {};
  return linesOf(withoutSequences(std::string_view(output_).substr(begin)));
}

}  // namespace cli
