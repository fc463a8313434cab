#include "calls/enforce/connection.h"

#include <string>

#include <gtest/gtest.h>

#include "calls/enforce/connections.h"

namespace calls::enforce {
namespace {

constexpr const char* kRow =
    R"({"time":"2026-11-20 21:26:24","who":"alice","from":"10.20.0.2","type":"CIFS",)"
    R"("descr":"media, photos","pid":4711,"user_can_be_disabled":true,"can_be_kicked":false})";

std::string page(const std::string& items) {
  return R"({"total":7,"systime":"Fri Nov 20 21:30:00 2026\n","items":[)" + items + "]}";
}

TEST(ParsePage, ReadsEveryMember) {
  const Connection expected = {"2026-11-20 21:26:24", "alice", "10.20.0.2", "CIFS",
                               "media, photos",       4711,    false,       true};
  const std::optional<Page> result = parsePage(page(kRow));
  ASSERT_TRUE(result);
  EXPECT_EQ(*result, (Page{7, {expected}, "Fri Nov 20 21:30:00 2026"}));
}

TEST(ParsePage, ReadsAnEmptyPage) {
  const std::optional<Page> result = parsePage(page(""));
  ASSERT_TRUE(result);
  EXPECT_EQ(*result, (Page{7, {}, "Fri Nov 20 21:30:00 2026"}));
}

TEST(ParsePage, RefusesWhatIsNoPage) {
  for (const char* text :
       {"", "null", "[]", "{", R"({"total":1})", "7", "\xFF",
        R"({"total":"1","items":[],"systime":""})", R"({"total":1,"items":{},"systime":""})",
        R"({"total":1,"items":[],"systime":null})"}) {
    EXPECT_FALSE(parsePage(text)) << text;
  }
}

TEST(ParsePage, RefusesARowThatLacksAMemberOrHasOneOfAnotherType) {
  const std::string row = kRow;
  for (const auto& [part, other] : {std::pair{R"("pid":4711)", R"("pid":-1)"},
                                    std::pair{R"("pid":4711)", R"("pid":4294967296)"},
                                    std::pair{R"("pid":4711)", R"("pid":"4711")"},
                                    std::pair{R"("who":"alice")", R"("who":["alice"])"},
                                    std::pair{R"("can_be_kicked":false)", R"("x":false)"}}) {
    std::string changed = row;
    changed.replace(changed.find(part), std::string(part).size(), other);
    EXPECT_FALSE(parsePage(page(changed))) << other;
  }
  EXPECT_FALSE(parsePage(page("null")));
}

TEST(ParsePage, RefusesDeepNestingWithoutAnException) {
  EXPECT_FALSE(parsePage(std::string(100000, '[')));
}

TEST(SameRow, LooksAtProcessUserAddressAndService) {
  const Connection one = connection(7, "alice", "CIFS", "10.20.0.2");
  Connection other = one;
  other.time = "later";
  other.descr = "photos";
  EXPECT_TRUE(isSameRow(one, other));
  EXPECT_FALSE(isSameRow(one, connection(8, "alice", "CIFS", "10.20.0.2")));
  EXPECT_FALSE(isSameRow(one, connection(7, "bob", "CIFS", "10.20.0.2")));
  EXPECT_FALSE(isSameRow(one, connection(7, "alice", "AFP", "10.20.0.2")));
  EXPECT_FALSE(isSameRow(one, connection(7, "alice", "CIFS", "10.20.0.3")));
}

TEST(SameRow, OfAWebLoginMayHaveAnotherNumber) {
  EXPECT_TRUE(
      isSameRow(connection(7, "alice", "HTTP/HTTPS"), connection(8, "alice", "HTTP/HTTPS")));
  EXPECT_FALSE(isSameRow(connection(7, "alice", "HTTP/HTTPS"), connection(7, "bob", "HTTP/HTTPS")));
}

TEST(NamedConnection, NeedsItsFourMembers) {
  const Connection one = connection(7, "alice", "CIFS", "10.20.0.2");
  const std::optional<Connection> named = namedConnection(nameOf(one));
  ASSERT_TRUE(named);
  EXPECT_TRUE(isSameRow(*named, one));
  for (const char* member : {"who", "from", "type", "pid"}) {
    Json::Value item = nameOf(one);
    item.removeMember(member);
    EXPECT_FALSE(namedConnection(item)) << member;
  }
}

}  // namespace
}  // namespace calls::enforce
