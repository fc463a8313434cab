// The local accounts as their files hold them.
#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace zevo {

// Fields of one line, as many as there are colons plus one. They belong to `line`.
std::vector<std::string_view> fieldsOf(std::string_view line);

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
