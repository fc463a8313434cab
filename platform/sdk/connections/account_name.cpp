#include "sdk/connections/account_name.h"

#include <cerrno>
#include <pwd.h>
#include <vector>

namespace zevo::connections {
namespace {

constexpr std::size_t kFirstBuffer = 1024;
constexpr std::size_t kLargestBuffer = 1024UL * 1024;  // above that the source is broken

}  // namespace

std::string accountName(uid_t uid) {
  std::vector<char> texts(kFirstBuffer);
  passwd entry{};
  passwd* found = nullptr;
  for (;;) {
    const int error = ::getpwuid_r(uid, &entry, texts.data(), texts.size(), &found);
    if (error == EINTR) continue;
    if (error != ERANGE || texts.size() >= kLargestBuffer) break;
    texts.resize(texts.size() * 2);
  }
  return found != nullptr ? std::string(found->pw_name) : std::to_string(uid);
}

}  // namespace zevo::connections
