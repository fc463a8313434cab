// The lines of the session file.
#pragma once

#include <string_view>
#include <vector>

namespace zevo {

// The lines of `content`, each with its line feed; the last one may lack it. None if `content` is
// empty.
inline std::vector<std::string_view> wholeLinesOf(std::string_view content) {
  std::vector<std::string_view> lines;
  while (!content.empty()) {
    const std::size_t feed = content.find('\n');
    const std::size_t length = feed == std::string_view::npos ? content.size() : feed + 1;
    lines.push_back(content.substr(0, length));
    content.remove_prefix(length);
  }
  return lines;
}

}  // namespace zevo
