#include "services/utmp.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/services/utmp_bytes.h"

namespace zevo::connections {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using test::utmpEntry;

// The recorded entry of an ssh with a terminal.
const test::FakeEntry kSsh = {.type = 7,
                              .pid = 66,
                              .line = "pts/1",
                              .user = "alice",
                              .host = "10.20.0.2",
                              .address = {0x0a, 0x14, 0x00, 0x02}};

TEST(UtmpTest, AnEntryOfAUserHasItsFields) {
  test::FakeEntry entry = kSsh;
  entry.session = 65;
  EXPECT_THAT(parseUtmp(utmpEntry(entry)),
              ElementsAre(LoginEntry{66, 65, "pts/1", "alice", "10.20.0.2", test::kEntryTime}));
}

TEST(UtmpTest, OtherKindsOfEntriesAreNoLogins) {
  std::string bytes;
  for (const int type : {0, 1, 2, 3, 4, 5, 6, 8, 9, -1, 77}) {
    test::FakeEntry entry = kSsh;
    entry.type = static_cast<short>(type);
    bytes += utmpEntry(entry);
  }
  test::FakeEntry nobody = kSsh;
  nobody.user = "";
  EXPECT_THAT(parseUtmp(bytes + utmpEntry(nobody)), IsEmpty());
}

TEST(UtmpTest, FieldsNeedNotEndInNul) {
  test::FakeEntry entry = kSsh;
  entry.line = std::string(32, 'l');
  entry.user = std::string(32, 'u');
  entry.host = std::string(256, 'h');
  entry.address = {};
  EXPECT_THAT(parseUtmp(utmpEntry(entry)),
              ElementsAre(LoginEntry{66, 0, std::string(32, 'l'), std::string(32, 'u'), "",
                                     test::kEntryTime}));
}

TEST(UtmpTest, ATruncatedEntryIsLeftOut) {
  const std::string entry = utmpEntry(kSsh);
  for (const std::size_t size : {std::size_t{0}, std::size_t{1}, entry.size() - 1}) {
    EXPECT_EQ(parseUtmp(entry + entry.substr(0, size)).size(), 1U) << size;
  }
  EXPECT_THAT(parseUtmp(entry.substr(0, 100)), IsEmpty());
}

TEST(UtmpTest, AnIpv6AddressFillsItsField) {
  test::FakeEntry entry = kSsh;
  entry.address = {0xfd, 0x20, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2};
  EXPECT_EQ(parseUtmp(utmpEntry(entry)).at(0).from, "fd20::2");
}

TEST(UtmpTest, WithoutAnAddressANumericHostServes) {
  test::FakeEntry entry = kSsh;
  entry.address = {};
  for (const auto& [host, from] : {std::pair{"::ffff:10.20.0.2", "10.20.0.2"},
                                   {"client.example", ""},
                                   {":0", ""},
                                   {"tmux(12).%0", ""},
                                   {"", ""}}) {
    entry.host = host;
    EXPECT_EQ(parseUtmp(utmpEntry(entry)).at(0).from, from) << host;
  }
}

TEST(UtmpTest, TimesAfter2038AreRead) {
  test::FakeEntry entry = kSsh;
  entry.time = 0xF0000000;
  EXPECT_EQ(parseUtmp(utmpEntry(entry)).at(0).time, 0xF0000000);
}

}  // namespace
}  // namespace zevo::connections
