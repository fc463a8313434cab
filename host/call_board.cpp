#include "call_board.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <sys/mman.h>

#include "base/text.h"

namespace host {

void CallSlot::setSummary(std::string_view text) {
  const std::size_t size = std::min(text.size(), summary.size() - 1);
  std::memcpy(summary.data(), text.data(), size);
  summary.at(size) = '\0';
}

std::string CallSlot::shownSummary() const {
  return zevo::printable({summary.data(), ::strnlen(summary.data(), summary.size())},
                         summary.size());
}

void CallSlot::clear() {
  isLogin = false;
  isAnswering = false;
  setSummary("method=-");
}

CallBoard::CallBoard(std::size_t slots) {
  void* memory = ::mmap(nullptr, slots * sizeof(CallSlot), PROT_READ | PROT_WRITE,
                        MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) std::abort();
  auto* first = static_cast<CallSlot*>(memory);
  for (std::size_t i = 0; i < slots; ++i) (new (first + i) CallSlot())->clear();
  slots_ = {first, slots};
}

CallBoard::~CallBoard() {
  ::munmap(slots_.data(), slots_.size_bytes());
}

bool CallBoard::beginLogin(CallSlot& slot, std::size_t most) {
  slot.isLogin = true;
  const auto logins = std::count_if(slots_.begin(), slots_.end(),
                                    [](const CallSlot& other) { return other.isLogin.load(); });
  if (static_cast<std::size_t>(logins) <= most) return true;
  slot.isLogin = false;
  return false;
}

}  // namespace host
