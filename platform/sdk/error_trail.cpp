#include "zevo/error_trail.h"

#include <utility>

namespace zevo {
namespace {

constexpr std::size_t kLongestTrail = 8;

thread_local std::vector<std::string> trail;

}  // namespace

std::vector<std::string> errorTrail() {
  return trail;
}

void clearErrorTrail() {
  trail.clear();
}

void noteError(int code, std::string cause, const char* file, int line) {
  VLIBCErrSetEx(code, file, line);
  if (trail.size() == kLongestTrail) trail.erase(trail.begin());
  trail.push_back(std::move(cause));
}

}  // namespace zevo
