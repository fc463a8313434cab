#include "base/tool_run.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>

#include "base/file_failure.h"

namespace zevo {
namespace {

constexpr int kPipeBytes = 1024 * 1024;  // the most that an unprivileged process may request
constexpr std::chrono::seconds kTimeToDie{1};
constexpr std::chrono::milliseconds kTimeBetweenLooks{5};

// The settings of posix_spawn, released at the end.
class SpawnPlan {
 public:
  SpawnPlan() {
    ::posix_spawnattr_init(&attributes_);
    ::posix_spawn_file_actions_init(&actions_);
  }
  ~SpawnPlan() {
    ::posix_spawn_file_actions_destroy(&actions_);
    ::posix_spawnattr_destroy(&attributes_);
  }
  SpawnPlan(const SpawnPlan&) = delete;
  SpawnPlan& operator=(const SpawnPlan&) = delete;

  void runAlone() {
    sigset_t none;
    sigset_t all;
    ::sigemptyset(&none);
    ::sigfillset(&all);
    ::posix_spawnattr_setsigmask(&attributes_, &none);
    ::posix_spawnattr_setsigdefault(&attributes_, &all);
    ::posix_spawnattr_setpgroup(&attributes_, 0);
    ::posix_spawnattr_setflags(
        &attributes_, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }

  // 0 or an error number.
  int redirect(int output) {
    for (const int result :
         {::posix_spawn_file_actions_adddup2(&actions_, output, STDOUT_FILENO),
          ::posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0),
          ::posix_spawn_file_actions_addopen(&actions_, STDERR_FILENO, "/dev/null", O_WRONLY, 0),
          ::posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1)}) {
      if (result != 0) return result;
    }
    return 0;
  }

  int spawn(pid_t* pid, char* const* arguments, char* const* environment) const {
    return ::posix_spawn(pid, arguments[0], &actions_, &attributes_, arguments, environment);
  }

 private:
  posix_spawnattr_t attributes_{};
  posix_spawn_file_actions_t actions_{};
};

// The vector for exec; its elements belong to `texts`.
std::vector<char*> execVector(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

int spawnTool(std::vector<std::string> arguments, int output, pid_t* pid) {
  std::vector<std::string> environment = {"PATH=/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL=C"};
  SpawnPlan plan;
  plan.runAlone();
  const int error = plan.redirect(output);
  if (error != 0) return error;
  return plan.spawn(pid, execVector(arguments).data(), execVector(environment).data());
}

}  // namespace

ToolRun::ToolRun(const std::vector<std::string>& arguments, const ToolLimits& limits)
    : limits_(limits), deadline_(Clock::now() + limits.time) {
  start(arguments);
}

ToolRun::ToolRun(ToolRun&& other) noexcept
    : limits_(other.limits_),
      deadline_(other.deadline_),
      pid_(std::exchange(other.pid_, -1)),
      ended_(std::move(other.ended_)),
      output_(std::move(other.output_)),
      result_(std::move(other.result_)) {}

ToolRun::~ToolRun() {
  if (pid_ > 0) endGroup();
}

void ToolRun::start(const std::vector<std::string>& arguments) {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
    result_.cause = "cannot be started: " + errorText(errno);
    return;
  }
  output_.reset(ends[0]);
  const FileDescriptor input(ends[1]);
  ::fcntl(output_.get(), F_SETPIPE_SZ, kPipeBytes);
  ::fcntl(output_.get(), F_SETFL, O_NONBLOCK);
  const int error = spawnTool(arguments, input.get(), &pid_);
  if (error != 0) {
    pid_ = -1;
    output_.reset();
    result_.cause = "cannot be started: " + errorText(error);
    return;
  }
  // Fails if the tool has already ended and the host ignores SIGCHLD, and in some sandboxes.
  ended_.reset(static_cast<int>(::syscall(SYS_pidfd_open, pid_, 0)));
}

void ToolRun::drain() {
  std::array<char, 64UL * 1024> buffer;
  while (output_) {
    const ssize_t size = ::read(output_.get(), buffer.data(), buffer.size());
    if (size < 0 && errno == EINTR) continue;
    if (size < 0 && errno == EAGAIN) return;
    if (size <= 0) {
      output_.reset();
      return;
    }
    result_.output.append(buffer.data(), static_cast<std::size_t>(size));
    if (result_.output.size() > limits_.bytes) {
      result_.cause = "answered with more than " + std::to_string(limits_.bytes) + " bytes";
      endGroup();
    }
  }
}

ToolResult ToolRun::finish() {
  for (drain(); output_; drain()) {
    if (waitFor(output_)) continue;
    result_.isLate = true;
    result_.cause = "did not answer within " + std::to_string(limits_.time.count() / 1000) + " s";
    endGroup();
  }
  if (pid_ > 0) awaitEnd();
  result_.complete = result_.cause.empty();
  return std::move(result_);
}

// False if the deadline passed first.
bool ToolRun::waitFor(const FileDescriptor& descriptor) const {
  while (true) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline_ - Clock::now());
    if (left.count() <= 0) return false;
    pollfd wait{descriptor.get(), POLLIN, 0};
    const int ready = ::poll(&wait, 1, static_cast<int>(left.count()));
    if (ready > 0) return true;
    if (ready < 0 && errno != EINTR) return false;
  }
}

// False if the deadline passed first.
bool ToolRun::waitForEnd() const {
  if (ended_) return waitFor(ended_);
  siginfo_t child{};
  while (::waitid(P_PID, static_cast<id_t>(pid_), &child, WEXITED | WNOHANG | WNOWAIT) == 0 &&
         child.si_pid == 0) {
    if (Clock::now() >= deadline_) return false;
    std::this_thread::sleep_for(kTimeBetweenLooks);
  }
  return true;
}

void ToolRun::awaitEnd() {
  if (!waitForEnd()) {
    result_.isLate = true;
    result_.cause = "did not end within " + std::to_string(limits_.time.count() / 1000) + " s";
    endGroup();
    return;
  }
  const auto status = reap(0);
  if (!status || !result_.cause.empty()) return;
  if (WIFSIGNALED(*status)) {
    result_.cause = "was ended by signal " + std::to_string(WTERMSIG(*status));
  } else if (WEXITSTATUS(*status) != 0) {
    result_.cause = "ended with status " + std::to_string(WEXITSTATUS(*status));
  }
}

// The tool's status, unless somebody else has reaped it.
std::optional<int> ToolRun::reap(int flags) noexcept {
  int status = 0;
  pid_t reaped = -1;
  do {
    reaped = ::waitpid(pid_, &status, flags);
  } while (reaped < 0 && errno == EINTR);
  const bool isOurs = reaped == pid_;
  pid_ = -1;
  return isOurs ? std::optional(status) : std::nullopt;
}

// A tool that does not end within a second (because it hangs in the kernel) is left to the reaper
// of orphans; waiting for it would block the caller too.
void ToolRun::endGroup() noexcept {
  output_.reset();
  if (pid_ <= 0) return;
  ::kill(-pid_, SIGKILL);
  deadline_ = Clock::now() + kTimeToDie;
  waitForEnd();
  reap(WNOHANG);
}

}  // namespace zevo
