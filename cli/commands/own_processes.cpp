#include "cli/commands/own_processes.h"

#include <cstddef>
#include <optional>
#include <string_view>

#include "base/read_file.h"
#include "cli/numbers.h"

namespace cli {
namespace {

// No chain of processes is longer; a tree that is being rebuilt while it is read may run in
// circles.
constexpr std::size_t kMostProcesses = 64;
constexpr std::size_t kLongestStatus = 65536;

std::optional<std::uint32_t> parentIn(std::string_view status) {
  constexpr std::string_view kKey = "\nPPid:\t";
  const std::size_t begin = status.find(kKey);
  if (begin == std::string_view::npos) return {};
  status.remove_prefix(begin + kKey.size());
  return parseNumber<std::uint32_t>(status.substr(0, status.find('\n')));
}

}  // namespace

std::vector<std::uint32_t> processesAbove(pid_t process, const std::string& proc) {
  std::vector<std::uint32_t> above;
  std::string next = std::to_string(process);
  while (above.size() < kMostProcesses) {
    std::string status;
    const std::string path = std::string(proc).append("/").append(next).append("/status");
    if (zevo::readFile(path, kLongestStatus, &status)) break;
    const std::optional<std::uint32_t> parent = parentIn(status);
    if (!parent || *parent == 0) break;
    above.push_back(*parent);
    next = std::to_string(*parent);
  }
  return above;
}

}  // namespace cli
