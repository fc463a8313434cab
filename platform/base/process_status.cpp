#include "base/process_status.h"

#include <cstddef>

#include "base/read_file.h"
#include "base/text.h"

namespace zevo {

std::optional<std::string> readProcessStatus(std::int64_t pid, const std::string& proc) {
  constexpr std::size_t kLongestStatus = 65536;
  std::string status;
  if (readFile(proc + "/" + std::to_string(pid) + "/status", kLongestStatus, &status)) return {};
  return status;
}

std::string_view statusValue(std::string_view status, std::string_view name) {
  for (std::string_view line : linesOf(status)) {
    if (takeUntil(':', line) == name && line.starts_with('\t')) return line.substr(1);
  }
  return {};
}

}  // namespace zevo
