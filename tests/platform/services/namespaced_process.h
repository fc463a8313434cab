// A real process in namespaces of its own: recorded trees hold no namespaces.
#pragma once

#include <functional>
#include <string>
#include <sys/types.h>

#include "base/file_descriptor.h"

namespace zevo::connections::test {

// Forked from the test, and ended with it. Its steps run in order; a step returns whether it
// succeeded. Needs root.
class NamespacedProcess {
 public:
  using Step = std::function<bool()>;

  // `inside` runs once the user namespace that `layOut` ends in has the map `ids`, of users and
  // groups alike ("" for none).
  explicit NamespacedProcess(
      const Step& layOut, const std::string& ids = "", const Step& inside = [] { return true; });
  ~NamespacedProcess();
  NamespacedProcess(const NamespacedProcess&) = delete;
  NamespacedProcess& operator=(const NamespacedProcess&) = delete;

  // As this machine counts it; 0 if it could not be laid out.
  [[nodiscard]] pid_t pid() const { return pid_; }

 private:
  [[noreturn]] void run(const Step& layOut, const Step& inside) const;

  FileDescriptor toIt_, itsInput_, fromIt_, itsOutput_;
  pid_t child_ = -1;
  pid_t pid_ = 0;
};

// Steps. Each is of the process that calls it.
bool becomeUser(uid_t uid);  // with a group of the same number
// Namespaces of the kinds that unshare(2) calls so.
bool unshareKinds(int kinds);
// Goes on in a child, which a new process namespace begins with.
bool goOnInChild();

}  // namespace zevo::connections::test
