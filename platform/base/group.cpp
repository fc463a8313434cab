#include "base/group.h"

#include <cerrno>
#include <cstddef>
#include <grp.h>

#include "base/file_failure.h"
#include "base/name_service.h"
#include "base/text.h"

namespace zevo {
std::optional<gid_t> groupNumber(const std::string& name) {
  const auto answer =
      askNameService<group>([&](group* entry, char* texts, std::size_t size, group** found) {
        return ::getgrnam_r(name.c_str(), entry, texts, size, found);
      });
  if (answer.found) return answer.entry.gr_gid;
  errno = answer.error;
  return std::nullopt;
}

std::string groupFailure(const std::string& name, int error) {
  const std::string shown = '"' + printable(name) + '"';
  return error == 0 ? "there is no group " + shown
                    : "cannot look up the group " + shown + ": " + errorText(error);
}

}  // namespace zevo
