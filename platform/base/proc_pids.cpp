#include "base/proc_pids.h"

#include <array>
#include <cerrno>
#include <string_view>
#include <unistd.h>

#include "base/file_failure.h"

namespace zevo {

std::optional<std::string> foreignPids(const std::string& proc) {
  const std::string self = proc + "/self";
  const std::string own = std::to_string(::getpid());
  std::array<char, 32> target{};
  const ssize_t size = ::readlink(self.c_str(), target.data(), target.size());
  const std::string remedy = "; mount a /proc of this pid namespace (unshare --mount-proc does)";
  if (size < 0) return FileFailure{"read", self, errno}.text() + remedy;
  const std::string_view shown(target.data(), static_cast<std::size_t>(size));
  if (shown == own) return std::nullopt;
  return proc + " is that of another pid namespace: this process is " + own + ", and " +
         std::string(shown) + " there, so a signal would reach another process" + remedy;
}

}  // namespace zevo
