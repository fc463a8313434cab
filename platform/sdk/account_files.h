// The local accounts in their files.
#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace zevo {

// The fields of one line, separated by colons. They belong to `line`.
std::vector<std::string_view> fieldsOf(std::string_view line);

// Paths of the login shells.
std::set<std::string> parseShells(std::string_view content);

// One line of the shadow file.
struct ShadowEntry {
  std::string_view name, password, expiryDay;
  std::size_t expiryDayStart;  // offset of the day's field in the file
};
// The entries in the file's order; lines without the required fields are skipped. They belong to
// `content`.
std::vector<ShadowEntry> parseShadow(std::string_view content);

}  // namespace zevo
