#include "session/merge.h"

#include "module/support.h"

namespace {

using module_test::lines;
using module_test::session;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

Session service(std::uint32_t pid, const std::string& type, const std::string& descr,
                const std::string& time = "", const std::string& from = "10.0.0.1") {
  return session(pid, time, "alice", from, descr, type);
}

Session login(const std::string& who, const std::string& from, std::uint32_t pid,
              const std::string& descr, const std::string& time = "") {
  return session(pid, time, who, from, descr, "HTTP/HTTPS");
}

std::vector<std::string> foldedServices(SessionList list) {
  SDKSessionListMerge(list);
  return lines(list);
}

std::vector<std::string> foldedLogins(SessionList list) {
  HttpSessionListMerge(list);
  return lines(list);
}

TEST(ServiceOrder, IsByPidFirstAsUnsignedNumber) {
  EXPECT_TRUE(SDKSessionCmp(service(9, "CIFS", "z"), service(10, "CIFS", "a")));
  EXPECT_FALSE(SDKSessionCmp(service(10, "CIFS", "a"), service(9, "CIFS", "z")));
  EXPECT_TRUE(SDKSessionCmp(service(1, "CIFS", "z"), service(4000000000U, "CIFS", "a")));
  EXPECT_FALSE(SDKSessionCmp(service(4000000000U, "CIFS", "a"), service(1, "CIFS", "z")));
}

TEST(ServiceOrder, IsByDescriptionWithinAPid) {
  EXPECT_TRUE(SDKSessionCmp(service(9, "CIFS", "a"), service(9, "AFP", "ab")));
  EXPECT_FALSE(SDKSessionCmp(service(9, "AFP", "ab"), service(9, "CIFS", "a")));
  EXPECT_FALSE(SDKSessionCmp(service(9, "CIFS", "a"), service(9, "AFP", "a")));
}

TEST(ServiceOrder, ComparesBytesAsUnsigned) {
  EXPECT_TRUE(SDKSessionCmp(service(9, "CIFS", "z"), service(9, "CIFS", "\xC3\xA4")));
  EXPECT_FALSE(SDKSessionCmp(service(9, "CIFS", "\xC3\xA4"), service(9, "CIFS", "z")));
}

TEST(ServiceOrder, PutsTheAddressBeforeTheDescriptionBetweenTwoNfsRecords) {
  const Session near = service(9, "NFS", "z", "", "10.0.0.1");
  const Session far = service(9, "NFS", "a", "", "10.0.0.2");
  EXPECT_TRUE(SDKSessionCmp(near, far));
  EXPECT_FALSE(SDKSessionCmp(far, near));
}

TEST(ServiceOrder, IsByDescriptionForNfsRecordsOfOneAddress) {
  EXPECT_TRUE(SDKSessionCmp(service(9, "NFS", "a"), service(9, "NFS", "b")));
  EXPECT_FALSE(SDKSessionCmp(service(9, "NFS", "b"), service(9, "NFS", "a")));
}

TEST(ServiceOrder, IgnoresTheAddressWhereOneRecordIsNotNfs) {
  EXPECT_FALSE(SDKSessionCmp(service(9, "NFS", "z", "", "1"), service(9, "CIFS", "a", "", "2")));
  EXPECT_FALSE(SDKSessionCmp(service(9, "CIFS", "z", "", "1"), service(9, "NFS", "a", "", "2")));
  EXPECT_FALSE(SDKSessionCmp(service(9, "CIFS", "z", "", "1"), service(9, "CIFS", "a", "", "2")));
}

TEST(ServiceOrder, GoesInACircleWhereNfsAndOthersShareAPid) {
  const Session p = service(9, "NFS", "z", "", "1");
  const Session q = service(9, "NFS", "a", "", "2");
  const Session r = service(9, "CIFS", "m", "", "3");
  EXPECT_TRUE(SDKSessionCmp(p, q));
  EXPECT_TRUE(SDKSessionCmp(q, r));
  EXPECT_TRUE(SDKSessionCmp(r, p));
}

TEST(ServiceFolding, LeavesAnEmptyListAndASingleRecord) {
  EXPECT_THAT(foldedServices({}), IsEmpty());
  EXPECT_THAT(foldedServices({service(9, "CIFS", "a", "1")}),
              ElementsAre("9|1|alice|10.0.0.1|a|CIFS"));
}

TEST(ServiceFolding, JoinsTheDescriptionsOfOnePid) {
  EXPECT_THAT(foldedServices({service(10, "CIFS", "a"), service(10, "CIFS", "b"),
                              service(10, "CIFS", "b"), service(11, "CIFS", "d")}),
              ElementsAre("10||alice|10.0.0.1|a, b|CIFS", "11||alice|10.0.0.1|d|CIFS"));
}

TEST(ServiceFolding, ARunKeepsTheTimeOfAppendedDescriptionsOnly) {
  EXPECT_THAT(foldedServices({service(10, "CIFS", "x", "1"), service(10, "CIFS", "y", "2"),
                              service(10, "CIFS", "y", "3")}),
              ElementsAre("10|2|alice|10.0.0.1|x, y|CIFS"));
}

TEST(ServiceFolding, ARepeatOfTheFirstDescriptionGivesNothing) {
  EXPECT_THAT(foldedServices({service(10, "CIFS", "x", "1"), service(10, "CIFS", "x", "3")}),
              ElementsAre("10|1|alice|10.0.0.1|x|CIFS"));
}

TEST(ServiceFolding, DropsImmediateRepeatsOnly) {
  EXPECT_THAT(foldedServices({service(10, "CIFS", "a"), service(10, "CIFS", "b"),
                              service(10, "CIFS", "a"), service(10, "CIFS", "a, b")}),
              ElementsAre("10||alice|10.0.0.1|a, b, a, a, b|CIFS"));
}

TEST(ServiceFolding, ComparesWithTheRecordBeforeAndNotWithTheJoinedText) {
  EXPECT_THAT(foldedServices({service(10, "CIFS", "a", "1"), service(10, "CIFS", "b", "2"),
                              service(10, "CIFS", "a, b", "3")}),
              ElementsAre("10|3|alice|10.0.0.1|a, b, a, b|CIFS"));
}

TEST(ServiceFolding, StartsAnewWithEachRun) {
  EXPECT_THAT(
      foldedServices({service(10, "CIFS", "a"), service(10, "CIFS", "b"), service(11, "CIFS", "a"),
                      service(11, "CIFS", "b"), service(12, "CIFS", "b")}),
      ElementsAre("10||alice|10.0.0.1|a, b|CIFS", "11||alice|10.0.0.1|a, b|CIFS",
                  "12||alice|10.0.0.1|b|CIFS"));
}

TEST(ServiceFolding, KeepsTheGreatestTimeAsText) {
  EXPECT_THAT(foldedServices({service(10, "CIFS", "a", "9"), service(10, "CIFS", "b", "10"),
                              service(10, "CIFS", "c", "95"), service(10, "CIFS", "d", "94")}),
              ElementsAre("10|95|alice|10.0.0.1|a, b, c, d|CIFS"));
}

TEST(ServiceFolding, AppendsAnEmptyDescriptionThatFollowsAnother) {
  EXPECT_THAT(foldedServices({service(10, "CIFS", "a"), service(10, "CIFS", "")}),
              ElementsAre("10||alice|10.0.0.1|a, |CIFS"));
}

TEST(ServiceFolding, LeavesAnEmptyFirstDescriptionInFront) {
  EXPECT_THAT(foldedServices({service(10, "CIFS", ""), service(10, "CIFS", "a")}),
              ElementsAre("10||alice|10.0.0.1|, a|CIFS"));
}

TEST(ServiceFolding, KeepsUserAddressAndServiceOfTheFirst) {
  EXPECT_THAT(foldedServices({session(10, "1", "alice", "10.0.0.1", "a", "SSH"),
                              session(10, "2", "bob", "10.0.0.2", "b", "SFTP")}),
              ElementsAre("10|2|alice|10.0.0.1|a, b|SSH"));
}

TEST(ServiceFolding, TellsNfsClientsOfOnePidApart) {
  EXPECT_THAT(foldedServices({service(0, "NFS", "v4", "", "10.0.0.1"),
                              service(0, "NFS", "v4", "", "10.0.0.2")}),
              ElementsAre("0||alice|10.0.0.1|v4|NFS", "0||alice|10.0.0.2|v4|NFS"));
}

TEST(ServiceFolding, FoldsNfsRecordsOfOneAddress) {
  EXPECT_THAT(foldedServices({service(0, "NFS", "v3"), service(0, "NFS", "v4")}),
              ElementsAre("0||alice|10.0.0.1|v3, v4|NFS"));
}

TEST(ServiceFolding, FoldsNfsAndOthersOfOnePidWhateverTheAddress) {
  EXPECT_THAT(foldedServices({service(7, "NFS", "a", "", "10.0.0.1"),
                              service(7, "CIFS", "b", "", "10.0.0.2")}),
              ElementsAre("7||alice|10.0.0.1|a, b|NFS"));
  EXPECT_THAT(foldedServices({service(7, "CIFS", "a", "", "10.0.0.1"),
                              service(7, "NFS", "b", "", "10.0.0.2")}),
              ElementsAre("7||alice|10.0.0.1|a, b|CIFS"));
}

TEST(ServiceFolding, LooksAtNeighboursOnly) {
  EXPECT_THAT(
      foldedServices({service(7, "CIFS", "a"), service(8, "CIFS", "b"), service(7, "CIFS", "c")}),
      ElementsAre("7||alice|10.0.0.1|a|CIFS", "8||alice|10.0.0.1|b|CIFS",
                  "7||alice|10.0.0.1|c|CIFS"));
}

TEST(LoginOrder, IsByUserThenAddressThenPid) {
  EXPECT_TRUE(HttpSessionCmp(login("a", "9", 9, ""), login("b", "1", 1, "")));
  EXPECT_FALSE(HttpSessionCmp(login("b", "1", 1, ""), login("a", "9", 9, "")));
  EXPECT_TRUE(HttpSessionCmp(login("a", "1", 9, ""), login("a", "2", 1, "")));
  EXPECT_FALSE(HttpSessionCmp(login("a", "2", 1, ""), login("a", "1", 9, "")));
  EXPECT_TRUE(HttpSessionCmp(login("a", "1", 1, "z"), login("a", "1", 4000000000U, "a")));
  EXPECT_FALSE(HttpSessionCmp(login("a", "1", 4000000000U, "a"), login("a", "1", 1, "z")));
  EXPECT_FALSE(HttpSessionCmp(login("a", "1", 1, "a"), login("a", "1", 1, "z")));
  EXPECT_FALSE(HttpSessionCmp(login("a", "1", 1, "z"), login("a", "1", 1, "a")));
}

TEST(LoginFolding, LeavesAnEmptyListAndASingleLogin) {
  EXPECT_THAT(foldedLogins({}), IsEmpty());
  EXPECT_THAT(foldedLogins({login("a", "1", 5, "p", "t")}), ElementsAre("5|t|a|1|p|HTTP/HTTPS"));
}

TEST(LoginFolding, TakesTheLastPidAndJoinsTheDescriptions) {
  EXPECT_THAT(foldedLogins({login("a", "1", 5, "p"), login("a", "1", 7, "q")}),
              ElementsAre("7||a|1|p, q|HTTP/HTTPS"));
}

TEST(LoginFolding, EqualPidsAppendNothing) {
  EXPECT_THAT(foldedLogins({login("a", "1", 5, "p"), login("a", "1", 5, "q")}),
              ElementsAre("5||a|1|p|HTTP/HTTPS"));
}

TEST(LoginFolding, ComparesWithThePidBefore) {
  EXPECT_THAT(foldedLogins({login("a", "1", 5, "p"), login("a", "1", 7, "q"),
                            login("a", "1", 7, "r"), login("a", "1", 9, "q")}),
              ElementsAre("9||a|1|p, q, q|HTTP/HTTPS"));
}

TEST(LoginFolding, AppendsRepeatedDescriptions) {
  EXPECT_THAT(foldedLogins({login("a", "1", 5, "Firefox"), login("a", "1", 7, "Firefox")}),
              ElementsAre("7||a|1|Firefox, Firefox|HTTP/HTTPS"));
}

TEST(LoginFolding, NeverLooksAtTheTime) {
  EXPECT_THAT(foldedLogins({login("a", "1", 5, "p", "1"), login("a", "1", 7, "q", "2")}),
              ElementsAre("7|1|a|1|p, q|HTTP/HTTPS"));
}

TEST(LoginFolding, KeepsUsersAndAddressesApart) {
  EXPECT_THAT(
      foldedLogins({login("a", "1", 5, "p"), login("a", "2", 5, "q"), login("b", "2", 5, "r")}),
      ElementsAre("5||a|1|p|HTTP/HTTPS", "5||a|2|q|HTTP/HTTPS", "5||b|2|r|HTTP/HTTPS"));
}

}  // namespace
