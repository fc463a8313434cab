#include "sdk/account_files.h"

namespace zevo {
namespace {

constexpr std::size_t kShadowFields = 9;

std::vector<std::string_view> split(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  for (;;) {
    const std::size_t end = text.find(separator);
    parts.push_back(text.substr(0, end));
    if (end == std::string_view::npos) return parts;
    text.remove_prefix(end + 1);
  }
}

}  // namespace

std::vector<std::string_view> fieldsOf(std::string_view line) {
  return split(line, ':');
}

std::set<std::string> parseShells(std::string_view content) {
  std::set<std::string> shells;
  for (const std::string_view line : split(content, '\n')) {
    const std::size_t end = line.find_first_of(" \t#\r");
    if (line.starts_with('/')) shells.emplace(line.substr(0, end));
  }
  return shells;
}

std::vector<ShadowEntry> parseShadow(std::string_view content) {
  std::vector<ShadowEntry> entries;
  for (const std::string_view line : split(content, '\n')) {
    const auto fields = fieldsOf(line);
    if (fields.size() != kShadowFields || fields[0].empty()) continue;
    const auto start = static_cast<std::size_t>(fields[7].data() - content.data());
    entries.push_back({fields[0], fields[1], fields[7], start});
  }
  return entries;
}

}  // namespace zevo
