#include "session/session.h"

#include <cstring>

#include "module/support.h"

namespace {

using module_test::json;
using module_test::line;
using module_test::session;

_tag_ZEVO_CURCONN_ record(const char* user, int type = ZEVO_CURCONN_CIFS) {
  return {77, "2026-11-20 21:26:24", "10.0.0.1", user, "photos", type};
}

std::string typeOf(int id) {
  Session made;
  made.set_strType(id);
  return made.type;
}

TEST(SessionRecord, IsAPlainValueWithItsFieldsInOrder) {
  const Session made;
  const auto offset = [&](const void* field) {
    return static_cast<const char*>(field) -
           static_cast<const char*>(static_cast<const void*>(&made));
  };
  EXPECT_EQ(offset(&made.pid), 0);
  EXPECT_LT(offset(&made.pid), offset(&made.time));
  EXPECT_LT(offset(&made.time), offset(&made.who));
  EXPECT_LT(offset(&made.who), offset(&made.from));
  EXPECT_LT(offset(&made.from), offset(&made.descr));
  EXPECT_LT(offset(&made.descr), offset(&made.type));
  EXPECT_FALSE(std::is_polymorphic_v<Session>);
  EXPECT_TRUE(std::is_copy_assignable_v<Session>);
}

TEST(SessionRecord, TakesEveryFieldOfARegistryRecord) {
  const _tag_ZEVO_CURCONN_ source = record("alice", ZEVO_CURCONN_SFTP);
  Session made = session(1, "old", "old", "old", "old", "old");
  EXPECT_TRUE(made.setValue(&source));
  EXPECT_EQ(line(made), "77|2026-11-20 21:26:24|alice|10.0.0.1|photos|SFTP");
}

TEST(SessionRecord, CopiesTheTextsOfARegistryRecord) {
  char user[] = "alice";
  const _tag_ZEVO_CURCONN_ source = record(user);
  Session made;
  made.setValue(&source);
  std::strcpy(user, "bob");
  EXPECT_EQ(made.who, "alice");
}

TEST(SessionRecord, StaysAsItIsWithoutARegistryRecord) {
  Session made = session(1, "t", "w", "f", "d", "CIFS");
  EXPECT_FALSE(made.setValue(nullptr));
  EXPECT_EQ(line(made), "1|t|w|f|d|CIFS");
}

TEST(SessionRecord, ShowsRootAsAdminAndOnlyRoot) {
  const auto whoOf = [](const char* user) {
    const _tag_ZEVO_CURCONN_ source = record(user);
    Session made;
    made.setValue(&source);
    return made.who;
  };
  EXPECT_EQ(whoOf("root"), "admin");
  EXPECT_EQ(whoOf("Root"), "Root");
  EXPECT_EQ(whoOf("ROOT"), "ROOT");
  EXPECT_EQ(whoOf("root2"), "root2");
  EXPECT_EQ(whoOf(" root"), " root");
  EXPECT_EQ(whoOf("roo"), "roo");
  EXPECT_EQ(whoOf(""), "");
}

TEST(SessionRecord, KeepsANegativeRegistryPidAsItsBits) {
  _tag_ZEVO_CURCONN_ source = record("alice");
  source.pid = -1;
  Session made;
  made.setValue(&source);
  EXPECT_EQ(made.pid, 4294967295U);
}

TEST(SessionRecord, TakesAConnectionThatAClientNamed) {
  Session made = session(1, "t", "w", "f", "d", "old");
  EXPECT_TRUE(made.setValue(4000000000U, "HTTP", "root", "10.0.0.9"));
  EXPECT_EQ(line(made), "4000000000||root|10.0.0.9||HTTP");
}

TEST(SessionRecord, RefusesAClientsConnectionWithAFieldMissing) {
  Session made = session(1, "t", "w", "f", "d", "CIFS");
  EXPECT_FALSE(made.setValue(0, "CIFS", "alice", "10.0.0.1"));
  EXPECT_FALSE(made.setValue(5, "", "alice", "10.0.0.1"));
  EXPECT_FALSE(made.setValue(5, "CIFS", "", "10.0.0.1"));
  EXPECT_FALSE(made.setValue(5, "CIFS", "alice", ""));
  EXPECT_EQ(line(made), "1|t|w|f|d|CIFS");
}

TEST(SessionRecord, NamesItsServices) {
  EXPECT_EQ(typeOf(4), "CIFS");
  EXPECT_EQ(typeOf(5), "AFP");
  EXPECT_EQ(typeOf(7), "FTP");
  EXPECT_EQ(typeOf(8), "TELNET");
  EXPECT_EQ(typeOf(9), "HTTP/HTTPS");
  EXPECT_EQ(typeOf(10), "SSH");
  EXPECT_EQ(typeOf(11), "LOGIN");
  EXPECT_EQ(typeOf(12), "NFS");
  EXPECT_EQ(typeOf(13), "SFTP");
}

TEST(SessionRecord, NamesEveryOtherServiceUnknown) {
  for (const int id : {-2147483647, -4, -1, 0, 1, 2, 3, 6, 14, 15, 260, 2147483647}) {
    EXPECT_EQ(typeOf(id), "UNKNOWN") << id;
  }
}

TEST(SessionRecord, IsEqualWhateverItsTimeAndDescription) {
  const Session one = session(7, "1", "alice", "10.0.0.1", "a", "CIFS");
  EXPECT_TRUE(one.is_equal(session(7, "2", "alice", "10.0.0.1", "b", "CIFS")));
}

TEST(SessionRecord, DiffersInPidUserAddressOrService) {
  const Session one = session(7, "", "alice", "10.0.0.1", "", "CIFS");
  EXPECT_FALSE(one.is_equal(session(8, "", "alice", "10.0.0.1", "", "CIFS")));
  EXPECT_FALSE(one.is_equal(session(7, "", "Alice", "10.0.0.1", "", "CIFS")));
  EXPECT_FALSE(one.is_equal(session(7, "", "alice", "10.0.0.10", "", "CIFS")));
  EXPECT_FALSE(one.is_equal(session(7, "", "alice", "10.0.0.1", "", "AFP")));
}

TEST(SessionRecord, TellsTextsWithANulApart) {
  const Session one = session(7, "", std::string("alice\0x", 7), "10.0.0.1", "", "CIFS");
  EXPECT_FALSE(one.is_equal(session(7, "", "alice", "10.0.0.1", "", "CIFS")));
}

TEST(SessionRecord, CanBeKickedUnlessItIsNfs) {
  EXPECT_FALSE(session(7, "", "a", "f", "", "NFS").check_can_be_kicked());
  for (const char* type : {"CIFS", "HTTP/HTTPS", "LOGIN", "UNKNOWN", "nfs", "NFS4", "NF", ""}) {
    EXPECT_TRUE(session(7, "", "a", "f", "", type).check_can_be_kicked()) << type;
  }
}

TEST(SessionRecord, NamesOfDirectoryAccountsCannotBeDisabled) {
  for (const char* who : {"dom\\alice", "alice@dom", "\\", "@", "alice@", "\\alice"}) {
    EXPECT_FALSE(session(7, "", who, "f", "", "CIFS").check_user_can_be_disabled()) << who;
  }
  for (const char* who : {"alice", "", "a/b", "a b"}) {
    EXPECT_TRUE(session(7, "", who, "f", "", "CIFS").check_user_can_be_disabled()) << who;
  }
  EXPECT_FALSE(session(7, "", "alice", "f", "", "NFS").check_user_can_be_disabled());
}

// The eight members as a record writes them.
Json::Value object(const std::string& texts, Json::UInt pid, bool canBeDisabled, bool canBeKicked) {
  Json::Value object = json(texts);
  object["pid"] = pid;
  object["user_can_be_disabled"] = canBeDisabled;
  object["can_be_kicked"] = canBeKicked;
  return object;
}

TEST(SessionRecord, WritesItsEightMembers) {
  Json::Value out;
  session(4000000000U, "2026", "alice", "10.0.0.1", "a, b", "CIFS").toJson(out);
  EXPECT_EQ(out, object(R"({"time": "2026", "who": "alice", "from": "10.0.0.1", "type": "CIFS",
                            "descr": "a, b"})",
                        4000000000U, true, true));
}

TEST(SessionRecord, WritesEmptyTexts) {
  Json::Value out;
  session(0, "", "", "", "", "").toJson(out);
  EXPECT_EQ(out, object(R"({"time": "", "who": "", "from": "", "type": "", "descr": ""})", 0, true,
                        true));
}

TEST(SessionRecord, ReplacesTheMembersOfTheRecordBefore) {
  Json::Value out;
  session(1, "1", "dom\\a", "f1", "d1", "NFS").toJson(out);
  session(2, "2", "b", "f2", "d2", "AFP").toJson(out);
  Json::Value fresh;
  session(2, "2", "b", "f2", "d2", "AFP").toJson(fresh);
  EXPECT_EQ(out, fresh);
}

TEST(SessionRecord, KeepsOtherMembersOfTheObject) {
  Json::Value out = json(R"({"more": 1})");
  session(1, "", "", "", "", "").toJson(out);
  EXPECT_EQ(out["more"], 1);
  EXPECT_EQ(out.size(), 9U);
}

TEST(SessionRecord, SaysWhatCanBeDoneWithNfsAndDirectoryAccounts) {
  Json::Value nfs;
  session(1, "", "", "f", "", "NFS").toJson(nfs);
  EXPECT_EQ(nfs["can_be_kicked"], false);
  EXPECT_EQ(nfs["user_can_be_disabled"], false);
  for (const char* who : {"dom\\alice", "alice@dom"}) {
    Json::Value directory;
    session(1, "", who, "f", "", "CIFS").toJson(directory);
    EXPECT_EQ(directory["can_be_kicked"], true) << who;
    EXPECT_EQ(directory["user_can_be_disabled"], false) << who;
  }
}

}  // namespace
