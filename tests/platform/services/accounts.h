// The accounts that tests of the registry know. accounts.cpp takes the place of the name service:
// a test program links it, so its results hang on no account of the machine.
#pragma once

#include <string_view>
#include <sys/types.h>

namespace zevo::connections::test {

inline constexpr uid_t kFtp = 102;
inline constexpr uid_t kSshdUser = 103;
inline constexpr uid_t kAlice = 1001;
inline constexpr uid_t kBob = 1002;
inline constexpr uid_t kWordy = 1003;
inline constexpr std::string_view kWordyName = "example\\bartholomew.featherstone-haugh";
// What a client may call alice, as directory services allow.
inline constexpr std::string_view kOtherNameOfAlice = "EXAMPLE\\alice";
inline constexpr uid_t kNobody = 65534;

inline constexpr uid_t kNoAccount = 4000;       // nobody has it
inline constexpr uid_t kBrokenAccount = 4001;   // the name service fails for it
inline constexpr uid_t kLongAccount = 4002;     // its entry needs 100,000 bytes and is named "long"
inline constexpr uid_t kEndlessAccount = 4003;  // its entry never fits
inline constexpr std::string_view kBrokenName = "broken";  // the name service fails for it

}  // namespace zevo::connections::test
