#include "forked_call.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

#include "answer_text.h"
#include "base/file_failure.h"
#include "output.h"

namespace cli {
namespace {

// The child starts with the signals of a fresh program, whatever its parent waits for. What was
// sent to both of them before they parted is the parent's: ignoring a signal once discards it.
void resetSignals() {
  for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, SIGTSTP, SIGWINCH, SIGCHLD}) {
    std::signal(number, SIG_IGN);
    std::signal(number, SIG_DFL);
  }
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

[[noreturn]] void runChild(Backend& backend, const std::string& method,
                           const Json::Value& parameters, const ForkedCall::Options& options,
                           int pipe) {
  if (options.bond == Bond::kEnds) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
  } else {
    // Keys that interrupt reach the terminal's process group only.
    setpgid(0, 0);
  }
  resetSignals();
  if (dup2(options.standardOutput, STDOUT_FILENO) < 0) _exit(1);
  const Answer answer = backend.call(method, parameters);
  std::string cause;
  const bool isSent = writeAll(pipe, textOfAnswer(answer), &cause) == Written::kAll;
  // No destructors of objects that are the parent's.
  _exit(isSent ? 0 : 1);
}

}  // namespace

std::optional<ForkedCall> ForkedCall::start(Backend& backend, const std::string& method,
                                            const Json::Value& parameters, const Options& options,
                                            std::string* cause) {
  std::array<int, 2> ends = {};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    *cause = "no pipe to a process of its own: " + zevo::errorText(errno);
    return {};
  }
  zevo::FileDescriptor readEnd(ends[0]);
  zevo::FileDescriptor writeEnd(ends[1]);
  // Text that waits in a buffer would come out of both processes.
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child < 0) {
    *cause = "no process for the call: " + zevo::errorText(errno);
    return {};
  }
  if (child == 0) runChild(backend, method, parameters, options, writeEnd.get());
  // As the child does: whoever is first, it is done when this returns.
  if (options.bond == Bond::kGoesOn) setpgid(child, child);
  return ForkedCall(child, options.bond, std::move(readEnd));
}

ForkedCall::ForkedCall(pid_t child, Bond bond, zevo::FileDescriptor pipe)
    : child_(child), bond_(bond), pipe_(std::move(pipe)) {}

ForkedCall::ForkedCall(ForkedCall&& other) noexcept
    : child_(std::exchange(other.child_, -1)),
      bond_(other.bond_),
      pipe_(std::move(other.pipe_)),
      received_(std::move(other.received_)) {}

ForkedCall::~ForkedCall() {
  if (child_ <= 0 || bond_ == Bond::kGoesOn) return;
  kill(child_, SIGKILL);
  while (waitpid(child_, nullptr, 0) < 0 && errno == EINTR) {
  }
}

std::optional<Answer> ForkedCall::advance() {
  std::array<char, 65536> bytes;
  const ssize_t count = read(pipe_.get(), bytes.data(), bytes.size());
  if (count < 0 && errno == EINTR) return {};
  if (count > 0) {
    received_.append(bytes.data(), static_cast<std::size_t>(count));
    return {};
  }
  return finish();
}

Answer ForkedCall::finish() {
  int status = 0;
  while (waitpid(child_, &status, 0) < 0 && errno == EINTR) {
  }
  child_ = -1;
  if (WIFSIGNALED(status)) {
    return failedAnswer("the call ended by signal " + std::to_string(WTERMSIG(status)) + " (" +
                        strsignal(WTERMSIG(status)) + ") before it answered");
  }
  std::optional<Answer> answer = answerFromText(received_);
  return answer ? *answer : failedAnswer("the call ended before it answered");
}

}  // namespace cli
