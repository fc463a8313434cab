#include "services/process.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <unistd.h>

#include "base/file_descriptor.h"
#include "base/file_failure.h"
#include "base/numbers.h"

namespace zevo::connections {
namespace {

constexpr std::uint64_t kKernelThreadFlag = 0x00200000;  // PF_KTHREAD of the kernel's sched.h
constexpr std::uint64_t kExitingFlag = 0x00000004;       // PF_EXITING
constexpr std::uint64_t kKillSignal = 1U << (SIGKILL - 1);

// Removes the next word from `rest`.
std::string_view nextWord(std::string_view& rest) {
  const std::size_t length = rest.find_first_of(" \n");
  const std::string_view word = rest.substr(0, length);
  rest.remove_prefix(length == std::string_view::npos ? rest.size() : length + 1);
  return word;
}

// Skips `count` words.
void skipWords(std::string_view& rest, int count) {
  for (int i = 0; i < count; ++i) nextWord(rest);
}

// The fields behind the name, in the order of proc(5): 3 state, 4 parent, 6 session, 7 terminal,
// 9 flags, 20 threads, 22 start, 26 code, 28 stack, 31 pending signals, 48 to 51 arguments and
// environment.
bool parseFieldsAfterName(std::string_view rest, Process* process) {
  const std::string_view state = nextWord(rest);
  if (!parseNumber(nextWord(rest), &process->parent)) return false;
  skipWords(rest, 1);
  if (!parseNumber(nextWord(rest), &process->session)) return false;
  if (!parseNumber(nextWord(rest), &process->terminal)) return false;
  skipWords(rest, 1);
  std::uint64_t flags = 0;
  if (!parseNumber(nextWord(rest), &flags)) return false;
  process->isKernelThread = (flags & kKernelThreadFlag) != 0;
  skipWords(rest, 10);
  std::uint64_t threads = 0;
  if (!parseNumber(nextWord(rest), &threads)) return false;
  // The state is that of the first thread, which may end before the others.
  const bool isFirstEnded = state == "Z";
  process->hasEnded = state == "X" || (isFirstEnded && threads <= 1);
  skipWords(rest, 1);
  if (!parseNumber(nextWord(rest), &process->startTicks)) return false;
  skipWords(rest, 3);
  if (!parseNumber(nextWord(rest), &process->codeAddress)) return false;
  skipWords(rest, 1);
  if (!parseNumber(nextWord(rest), &process->stackAddress)) return false;
  skipWords(rest, 2);
  std::uint64_t signals = 0;
  if (!parseNumber(nextWord(rest), &signals)) return false;
  const bool isExiting = (flags & kExitingFlag) != 0 && !isFirstEnded;
  process->isEnding = isExiting || (signals & kKillSignal) != 0;
  skipWords(rest, 16);
  for (auto* place : {&process->argumentsBegin, &process->argumentsEnd, &process->environmentBegin,
                      &process->environmentEnd}) {
    if (!parseNumber(nextWord(rest), place)) return false;
  }
  return true;
}

std::string failureText(pid_t pid, int error) {
  return "cannot read /proc/" + std::to_string(pid) + "/stat: " + errorText(error) +
         "; run this as root with the capability CAP_SYS_PTRACE";
}

bool meansGone(int error) {
  return error == ENOENT || error == ESRCH;
}

}  // namespace

bool shareImage(const Process& a, const Process& b) {
  return a.stackAddress != 0 && a.stackAddress == b.stackAddress && a.codeAddress == b.codeAddress;
}

std::optional<Process> parseStat(std::string_view line) {
  const std::size_t open = line.find('(');
  const std::size_t close = line.rfind(')');
  if (open == std::string_view::npos || close == std::string_view::npos || close < open ||
      open == 0 || close + 2 > line.size()) {
    return std::nullopt;
  }
  Process process;
  if (!parseNumber(line.substr(0, open - 1), &process.pid)) return std::nullopt;
  process.name = line.substr(open + 1, close - open - 1);
  if (!parseFieldsAfterName(line.substr(close + 2), &process)) return std::nullopt;
  return process;
}

Result<Process> readProcess(int proc, pid_t pid) {
  std::array<char, 32> path{};
  std::snprintf(path.data(), path.size(), "%d/stat", pid);
  const FileDescriptor file = openFileAt(proc, path.data(), O_RDONLY);
  std::array<char, 2048> buffer{};  // at most 52 fields of 20 digits
  const ssize_t size = file ? ::read(file.get(), buffer.data(), buffer.size()) : -1;
  if (size < 0 && meansGone(errno)) return gone();
  if (size < 0) return failure(failureText(pid, errno));
  auto process = parseStat({buffer.data(), static_cast<std::size_t>(size)});
  if (!process) return failure(failureText(pid, EBADMSG));
  return std::move(*process);
}

Result<Process> readProcess(const Paths& paths, pid_t pid) {
  const FileDescriptor proc = openFile(paths.proc.c_str(), O_RDONLY | O_DIRECTORY);
  if (!proc) {
    return failure("cannot open " + paths.proc + ": " + errorText(errno));
  }
  return readProcess(proc.get(), pid);
}

}  // namespace zevo::connections
