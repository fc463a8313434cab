#include "daemon/admission.h"

#include <gtest/gtest.h>

namespace currentconnd {
namespace {

using calls::SocketKind;

constexpr uid_t kAlice = 1000;

TEST(Admission, CountsCallsByWhoMakesThem) {
  Load load;
  load.add(SocketKind::kWeb, 0, kAlice);
  load.add(SocketKind::kWeb, kAlice, kAlice);
  load.add(SocketKind::kLocal, 0, kAlice);
  load.add(SocketKind::kLocal, kAlice, kAlice);
  load.add(SocketKind::kLocal, kAlice + 1, kAlice);
  EXPECT_EQ(load.web, 2U);
  EXPECT_EQ(load.root, 1U);
  EXPECT_EQ(load.local, 2U);
  EXPECT_EQ(load.samePeer, 1U);
}

TEST(Admission, CountsTheIdsOfARangeAsOneUser) {
  const std::vector<zevo::SubordinateRange> ranges{
      {"root", 1000000, 1000000000}, {"alice", 100000, 65536}, {"bob", 165536, 65536}};
  EXPECT_EQ(countedAs(99999, ranges), 99999U);
  EXPECT_EQ(countedAs(100000, ranges), 100000U);
  EXPECT_EQ(countedAs(165535, ranges), 100000U);
  EXPECT_EQ(countedAs(165536, ranges), 165536U);
  EXPECT_EQ(countedAs(1000001, ranges), 1000001U);
  EXPECT_EQ(countedAs(kAlice, {}), kAlice);
}

TEST(Admission, CountsTheIdsOfADirectorysRangesAsOneUser) {
  EXPECT_EQ(countedAs(0x7fffffff, {}), 0x7fffffffU);
  EXPECT_EQ(countedAs(0x80010001, {}), countedAs(0xfffffff0, {}));
}

TEST(Admission, CountsNobodyButRootAsRoot) {
  const std::vector<zevo::SubordinateRange> ranges{{"alice", 0, 65536}};
  EXPECT_EQ(countedAs(0, ranges), 0U);
  EXPECT_NE(countedAs(kAlice, ranges), 0U);
}

TEST(Admission, KeepsPlacesForTheLocalSocket) {
  EXPECT_TRUE(isAdmitted(SocketKind::kWeb, 33, {.web = 51}, 64));
  EXPECT_FALSE(isAdmitted(SocketKind::kWeb, 33, {.web = 52}, 64));
  EXPECT_TRUE(isAdmitted(SocketKind::kLocal, kAlice, {.web = 52}, 64));
  EXPECT_TRUE(isAdmitted(SocketKind::kWeb, 33, {.web = 47, .local = 8, .root = 4}, 64));
}

TEST(Admission, KeepsPlacesForRoot) {
  EXPECT_TRUE(isAdmitted(SocketKind::kLocal, kAlice, {.web = 52, .local = 7}, 64));
  EXPECT_FALSE(isAdmitted(SocketKind::kLocal, kAlice, {.web = 52, .local = 8}, 64));
  EXPECT_TRUE(isAdmitted(SocketKind::kLocal, 0, {.web = 52, .local = 8}, 64));
  EXPECT_TRUE(isAdmitted(SocketKind::kLocal, 0, {.web = 52, .local = 8, .root = 3}, 64));
  EXPECT_FALSE(isAdmitted(SocketKind::kLocal, 0, {.web = 52, .local = 8, .root = 4}, 64));
}

TEST(Admission, RootOverTheWebServersSocketIsTheWeb) {
  EXPECT_FALSE(isAdmitted(SocketKind::kWeb, 0, {.web = 52}, 64));
}

TEST(Admission, OneLocalUserCannotKeepTheOthersOut) {
  EXPECT_TRUE(isAdmitted(SocketKind::kLocal, kAlice, {.local = 7, .samePeer = 7}, 64));
  EXPECT_FALSE(isAdmitted(SocketKind::kLocal, kAlice, {.local = 8, .samePeer = 8}, 64));
  EXPECT_TRUE(isAdmitted(SocketKind::kLocal, kAlice, {.local = 8}, 64));
}

TEST(Admission, AllLocalUsersTogetherLeaveHalfToTheWeb) {
  for (const std::size_t most : {32U, 64U, 1024U}) {
    Load load;
    while (isAdmitted(SocketKind::kLocal, kAlice, load, most)) ++load.local;
    while (isAdmitted(SocketKind::kWeb, 33, load, most)) ++load.web;
    EXPECT_EQ(load.web, most / 2);
    EXPECT_EQ(load.local, most / 2 - kKeptForRoot);
    EXPECT_TRUE(isAdmitted(SocketKind::kLocal, 0, load, most));
  }
}

}  // namespace
}  // namespace currentconnd
