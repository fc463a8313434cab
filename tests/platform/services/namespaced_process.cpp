#include "platform/services/namespaced_process.h"

#include <array>
#include <cstdlib>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zevo::connections::test {
namespace {

void makePipe(FileDescriptor* output, FileDescriptor* input) {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) std::abort();
  *output = FileDescriptor(ends[0]);
  *input = FileDescriptor(ends[1]);
}

// The pid that this machine's /proc shows, whatever process namespace the caller is in.
pid_t outerPid() {
  std::array<char, 16> target{};
  const ssize_t size = ::readlink("/proc/self", target.data(), target.size() - 1);
  return size > 0 ? std::atoi(target.data()) : 0;
}

bool send(const FileDescriptor& end, pid_t pid) {
  return ::write(end.get(), &pid, sizeof(pid)) == sizeof(pid);
}

pid_t receive(const FileDescriptor& end) {
  pid_t pid = 0;
  return ::read(end.get(), &pid, sizeof(pid)) == sizeof(pid) ? pid : 0;
}

bool writeMaps(pid_t pid, const std::string& ids) {
  if (ids.empty()) return true;
  const std::string folder = "/proc/" + std::to_string(pid);
  for (const char* name : {"/uid_map", "/gid_map"}) {
    const FileDescriptor map = openFile((folder + name).c_str(), O_WRONLY);
    if (::write(map.get(), ids.data(), ids.size()) != static_cast<ssize_t>(ids.size()))
      return false;
  }
  return true;
}

}  // namespace

NamespacedProcess::NamespacedProcess(const Step& layOut, const std::string& ids,
                                     const Step& inside) {
  makePipe(&itsInput_, &toIt_);
  makePipe(&fromIt_, &itsOutput_);
  child_ = ::fork();
  if (child_ == 0) run(layOut, inside);
  itsInput_.reset();
  itsOutput_.reset();
  const pid_t pid = receive(fromIt_);
  if (pid == 0 || !writeMaps(pid, ids) || !send(toIt_, pid)) return;
  pid_ = receive(fromIt_);
}

// It ends when nobody can write to it any more.
NamespacedProcess::~NamespacedProcess() {
  toIt_.reset();
  if (child_ > 0) ::waitpid(child_, nullptr, 0);
}

void NamespacedProcess::run(const Step& layOut, const Step& inside) const {
  ::close(toIt_.get());
  ::close(fromIt_.get());
  const bool isThere = layOut() && send(itsOutput_, outerPid()) && receive(itsInput_) != 0 &&
                       inside() && send(itsOutput_, outerPid());
  if (isThere) receive(itsInput_);
  ::_exit(0);
}

// A process that changed its user hides its namespaces from all but root, itself included.
bool becomeUser(uid_t uid) {
  return ::setresgid(uid, uid, uid) == 0 && ::setresuid(uid, uid, uid) == 0 &&
         ::prctl(PR_SET_DUMPABLE, 1) == 0;
}

bool unshareKinds(int kinds) {
  return ::unshare(kinds) == 0;
}

bool goOnInChild() {
  const pid_t child = ::fork();
  if (child > 0) {
    ::waitpid(child, nullptr, 0);
    ::_exit(0);
  }
  return child == 0;
}

}  // namespace zevo::connections::test
