#include "base/group.h"

#include <cerrno>
#include <cstddef>
#include <grp.h>
#include <vector>

#include "base/file_failure.h"
#include "base/text.h"

namespace zevo {
namespace {

constexpr std::size_t kUsualEntry = 64UL * 1024;
constexpr std::size_t kLongestEntry = 64 * kUsualEntry;

// What sources of groups report where they know none of that name.
bool meansNone(int error) {
  return error == 0 || error == ENOENT || error == ESRCH || error == EBADF || error == EPERM;
}

}  // namespace

std::optional<gid_t> groupNumber(const std::string& name) {
  std::vector<char> texts(kUsualEntry);
  group entry{};
  group* found = nullptr;
  int error = ERANGE;
  for (; error == ERANGE && texts.size() <= kLongestEntry; texts.resize(texts.size() * 2)) {
    error = ::getgrnam_r(name.c_str(), &entry, texts.data(), texts.size(), &found);
  }
  if (found != nullptr) return found->gr_gid;
  errno = meansNone(error) ? 0 : error;
  return std::nullopt;
}

std::string groupFailure(const std::string& name, int error) {
  const std::string shown = '"' + printable(name) + '"';
  return error == 0 ? "there is no group " + shown
                    : "cannot look up the group " + shown + ": " + errorText(error);
}

}  // namespace zevo
