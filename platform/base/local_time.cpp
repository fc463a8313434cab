#include "base/local_time.h"

#include <array>

namespace zevo {

std::string localTimeText(std::time_t time) {
  std::tm parts{};
  std::array<char, 64> text{};
  if (::localtime_r(&time, &parts) == nullptr) return {};
  return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &parts)};
}

}  // namespace zevo
