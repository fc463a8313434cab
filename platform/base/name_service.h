// Asking the name service for one entry.
#pragma once

#include <cerrno>
#include <cstddef>
#include <vector>

namespace zevo {

template <typename Entry>
struct NameServiceAnswer {
  int error = 0;  // errno; 0 also where there is no such entry
  // Where there is no entry: not 0 where one of the sources could not be asked, so that there may
  // be one after all.
  int doubt = 0;
  bool found = false;
  Entry entry{};
  std::vector<char> texts;  // what the entry points to

  NameServiceAnswer() = default;
  NameServiceAnswer(NameServiceAnswer&&) noexcept = default;
  NameServiceAnswer& operator=(NameServiceAnswer&&) noexcept = default;
  NameServiceAnswer(const NameServiceAnswer&) = delete;
  NameServiceAnswer& operator=(const NameServiceAnswer&) = delete;
};

// Makes one reentrant look-up of the C library, `lookUp(entry, buffer, size, found)`, with a buffer
// that grows to what the entry needs.
template <typename Entry, typename LookUp>
NameServiceAnswer<Entry> askNameService(const LookUp& lookUp) {
  constexpr std::size_t kFirst = 1024;
  constexpr std::size_t kLargest = 4UL * 1024 * 1024;  // above that the source is broken
  NameServiceAnswer<Entry> answer;
  Entry* found = nullptr;
  answer.texts.resize(kFirst);
  for (;;) {
    answer.error = lookUp(&answer.entry, answer.texts.data(), answer.texts.size(), &found);
    if (answer.error == EINTR) continue;
    if (answer.error != ERANGE || answer.texts.size() >= kLargest) break;
    answer.texts.resize(answer.texts.size() * 2);
  }
  answer.found = answer.error == 0 && found != nullptr;
  // Other systems say so of an entry that is nowhere. The C library of ours says 0 then, and gives
  // these of a source that is not there.
  const int error = answer.error;
  if (error == ENOENT || error == ESRCH || error == EBADF || error == EPERM) {
    answer.doubt = error;
    answer.error = 0;
  }
  return answer;
}

}  // namespace zevo
