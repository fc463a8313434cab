#include <array>
#include <string>

#include <gtest/gtest.h>

#include "zevo/cgi.h"

#include "cgi/session_record.h"

namespace zevo {
namespace {

const std::string kLine =
    R"("aB3-_x":{"1":"10.20.0.2","2":"alice","3":7,"4":1795210000,"5":"Firefox","16":{"hide":true}})";

struct Texts {
  std::string client, user, id;
  bool operator==(const Texts&) const = default;
};

// A record handle as a reader of the file holds it: released once, after the last line.
class RecordHandle : public testing::Test {
 protected:
  ~RecordHandle() override { json_object_put(record_); }

  int init(const std::string& line) { return ZevoCgiJsonRecordInit(&record_, line.c_str()); }

  Texts parse() {
    const char* client = "";
    const char* user = "";
    const char* id = "";
    if (ZevoCgiJsonRecordParse(record_, &client, &user, &id, 0, 0) != 1) return {"failed", "", ""};
    return {client, user, id};
  }

  std::string get(int field, int size = 4096) {
    std::array<char, 4096> buffer{};
    if (ZevoCgiJsonRecordGet(record_, field, buffer.data(), size) != 1) return "none";
    return buffer.data();
  }

  json_object* record_ = nullptr;
};

TEST_F(RecordHandle, YieldsTheThreeTexts) {
  ASSERT_EQ(init(kLine), 1);
  EXPECT_EQ(parse(), (Texts{"10.20.0.2", "alice", "aB3-_x"}));
}

TEST_F(RecordHandle, TakesALineWithItsBreak) {
  EXPECT_EQ(init(kLine + "\n"), 1);
  EXPECT_EQ(init(kLine + "\r\n"), 1);
  EXPECT_EQ(parse(), (Texts{"10.20.0.2", "alice", "aB3-_x"}));
}

TEST_F(RecordHandle, HoldsOneLineAfterTheOther) {
  ASSERT_EQ(init(kLine), 1);
  ASSERT_EQ(init(R"("b":{"1":"10.20.0.3","2":"bob"})"), 1);
  EXPECT_EQ(parse(), (Texts{"10.20.0.3", "bob", "b"}));
  EXPECT_EQ(init("no record"), 0);
  EXPECT_EQ(record_, nullptr);
  EXPECT_EQ(parse(), (Texts{"failed", "", ""}));
}

TEST_F(RecordHandle, RefusesWhatIsNoRecord) {
  for (const std::string& line :
       {std::string(), std::string("\n"), std::string("{}"), std::string("\"a\""),
        std::string("\"a\":"), std::string("\"a\":[]"), std::string("\"a\":1"),
        std::string("\"a\":{} x"), std::string("\"a\":{}}"), std::string("\"a\":{},\"b\":{}"),
        std::string("\"a\":{\"1\":"), std::string(" \"a\":{}"),
        std::string("\"a\":{\"2\":\"\xFF\"}"), std::string("\"\":{}"),
        std::string("\"a\":{'2':'x'}"), std::string("\"a\":{\"1\":\"a\nb\"}"),
        "\"a\":" + std::string(600, '{')}) {
    EXPECT_EQ(init(line), 0) << line;
  }
  EXPECT_EQ(ZevoCgiJsonRecordInit(&record_, nullptr), 0);
}

TEST_F(RecordHandle, RefusesIdsThatAreNoFileNames) {
  for (const char* id :
       {"../x", "a/b", "..", ".", "a.b", "a b", "a\\u0062", "a\\\\", "\xC3\xA4", "a\\\"b"}) {
    EXPECT_EQ(init(std::string("\"") + id + R"(":{"1":"c","2":"u"})"), 0) << id;
  }
  EXPECT_EQ(init("\"" + std::string(128, 'a') + R"(":{"1":"c","2":"u"})"), 1);
  EXPECT_EQ(init("\"" + std::string(129, 'a') + R"(":{"1":"c","2":"u"})"), 0);
}

TEST_F(RecordHandle, TakesALineOfSixHundredAndFortyBytes) {
  const std::string start = R"("a":{"1":"c","2":"u","5":")";
  const std::string longest = start + std::string(640 - start.size() - 3, 'x') + "\"}\n";
  ASSERT_EQ(longest.size(), 640U);
  EXPECT_EQ(init(longest), 1);
  EXPECT_EQ(init(longest.substr(0, 300)), 0);
  EXPECT_EQ(init(longest.substr(300)), 0);
  EXPECT_EQ(init(start + std::string(641 - start.size() - 3, 'x') + "\"}\n"), 0);
}

TEST_F(RecordHandle, RefusesARecordThatLacksAText) {
  for (const char* fields : {R"({})", R"({"1":"c"})", R"({"2":"u"})", R"({"1":5,"2":"u"})",
                             R"({"1":"c","2":null})", R"({"1":"c","2":"u\u0000v"})"}) {
    ASSERT_EQ(init(std::string("\"a\":") + fields), 1);
    EXPECT_EQ(parse(), (Texts{"failed", "", ""})) << fields;
  }
}

TEST_F(RecordHandle, CopiesTheTextOfAField) {
  ASSERT_EQ(init(kLine), 1);
  EXPECT_EQ(get(1), "10.20.0.2");
  EXPECT_EQ(get(3), "7");
  EXPECT_EQ(get(16), R"({"hide":true})");
  EXPECT_EQ(get(17), "none");
  EXPECT_EQ(get(-1), "none");
}

TEST_F(RecordHandle, CopiesFlagsThatAreWrittenAsText) {
  ASSERT_EQ(init(R"("a":{"16":"{\"hide\":true}"})"), 1);
  EXPECT_EQ(get(16), R"({"hide":true})");
}

TEST_F(RecordHandle, CopiesNoFieldThatDoesNotFit) {
  ASSERT_EQ(init(kLine), 1);
  EXPECT_EQ(get(2, 6), "alice");
  EXPECT_EQ(get(2, 5), "none");
  EXPECT_EQ(get(2, 0), "none");
  EXPECT_EQ(get(2, -1), "none");
}

TEST_F(RecordHandle, OfNothingHasNoFields) {
  EXPECT_EQ(get(1), "none");
}

TEST_F(RecordHandle, MayHoldAnythingFromElsewhere) {
  record_ = json_tokener_parse(R"({"../x":5})");
  EXPECT_EQ(get(1), "none");
  EXPECT_EQ(parse(), (Texts{"failed", "", ""}));
}

}  // namespace
}  // namespace zevo
