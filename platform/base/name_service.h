// Queries the name service for one entry.
#pragma once

#include <cerrno>
#include <cstddef>
#include <vector>

namespace zevo {

template <typename Entry>
struct NameServiceAnswer {
  int error = 0;  // errno; 0 also if there is no such entry
  // If no entry was found: not 0 if one of the sources failed, so that the entry may exist.
  int doubt = 0;
  bool found = false;
  Entry entry{};
  std::vector<char> texts;  // the data of the entry

  NameServiceAnswer() = default;
  NameServiceAnswer(NameServiceAnswer&&) noexcept = default;
  NameServiceAnswer& operator=(NameServiceAnswer&&) noexcept = default;
  NameServiceAnswer(const NameServiceAnswer&) = delete;
  NameServiceAnswer& operator=(const NameServiceAnswer&) = delete;
};

// Makes one reentrant look-up of the C library, `lookUp(entry, buffer, size, found)`, with a buffer
// that grows as needed.
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
  // On other systems these mean that there is no entry. Our C library returns 0 then, and these for
  // a source that is not available.
  const int error = answer.error;
  if (error == ENOENT || error == ESRCH || error == EBADF || error == EPERM) {
    answer.doubt = error;
    answer.error = 0;
  }
  return answer;
}

}  // namespace zevo
