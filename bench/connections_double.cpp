#include "bench/connections_double.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <random>
#include <utility>
#include <vector>

#include "zevo/account.h"
#include "zevo/login_log.h"

namespace {

constexpr std::size_t kTextSize = 40;
constexpr std::size_t kTexts = 4;

_tag_ZEVO_CURCONN_* prepared = nullptr;
std::size_t preparedCount = 0;

// `second` is the second of its start, which has nothing to do with its number.
void fill(_tag_ZEVO_CURCONN_& record, char* texts, unsigned number, unsigned second) {
  char* time = texts;
  char* from = time + kTextSize;
  char* user = from + kTextSize;
  char* descr = user + kTextSize;
  std::snprintf(time, kTextSize, "2026-11-%02u %02u:%02u:%02u", 1 + second / 86400 % 28,
                second / 3600 % 24, second / 60 % 60, second % 60);
  std::snprintf(from, kTextSize, "10.%u.%u.%u", number >> 16U & 255U, number >> 8U & 255U,
                number & 255U);
  std::snprintf(user, kTextSize, "user%u", number % 500);
  std::snprintf(descr, kTextSize, "department-%u", number % 40);
  record = {static_cast<int>(1000 + number), time, from, user, descr, ZEVO_CURCONN_CIFS};
}

}  // namespace

namespace bench {

void prepareConnections(std::size_t count) {
  std::free(prepared);
  const std::size_t size = count * (sizeof(_tag_ZEVO_CURCONN_) + kTexts * kTextSize);
  prepared = static_cast<_tag_ZEVO_CURCONN_*>(std::malloc(size));
  if (prepared == nullptr) std::abort();
  preparedCount = count;
  std::mt19937 random(20261121);
  std::vector<unsigned> numbers(count);
  std::iota(numbers.begin(), numbers.end(), 0U);
  std::shuffle(numbers.begin(), numbers.end(), random);
  std::vector<unsigned> seconds = numbers;
  std::shuffle(seconds.begin(), seconds.end(), random);
  char* texts = reinterpret_cast<char*>(prepared + count);
  for (std::size_t i = 0; i < count; ++i)
    fill(prepared[i], texts + i * kTexts * kTextSize, numbers[i], seconds[i]);
}

const _tag_ZEVO_CURCONN_* preparedConnections() {
  return prepared;
}

}  // namespace bench

extern "C" {

int ZEVOCurConnGet(_tag_ZEVO_CURCONN_** records) {
  *records = std::exchange(prepared, nullptr);
  return static_cast<int>(preparedCount);
}

int ZEVOCgiLoginUserCurrentLog(const char* /*sessionFilePath*/, _tag_ZEVO_CURCONN_** records) {
  *records = nullptr;
  return 0;
}

int ZEVOUserGet(const char* name, UserRecord** user) {
  *user = static_cast<UserRecord*>(std::malloc(sizeof(UserRecord)));
  if (*user == nullptr) return -1;
  **user = {1000, 1000, name, "/home", "/bin/sh"};
  return 0;
}

void ZEVOUserFree(UserRecord* user) {
  std::free(user);
}

}  // extern "C"
