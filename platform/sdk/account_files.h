// The local accounts as their files hold them.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace zevo {

// Fields of one line, as many as there are colons plus one. They belong to `line`.
std::vector<std::string_view> fieldsOf(std::string_view line);

// The number that all of `text` is; none where it is empty or anything else.
std::optional<long> numberOf(std::string_view text);

struct PasswdEntry {
  uid_t uid;
  gid_t gid;
  std::string shell;  // as it is used: an empty one is /bin/sh
};
// By name; the first entry of a name counts, as it does for the C library. Lines that are no
// entries are passed over.
std::map<std::string, PasswdEntry> parsePasswd(std::string_view content);

struct Group {
  gid_t gid;
  std::set<std::string>
      members;  // those that the group names; its primary members are not among them
};
std::map<std::string, Group> parseGroups(std::string_view content);

// Paths of the shells with which one may log in.
std::set<std::string> parseShells(std::string_view content);

// One line of the shadow file.
struct ShadowEntry {
  std::string_view name, password, expiryDay;
  std::size_t expiryDayStart;  // where the day's field begins in the file
};
// The entries in the file's order; lines without the fields of one are passed over. They belong to
// `content`.
std::vector<ShadowEntry> parseShadow(std::string_view content);

}  // namespace zevo
