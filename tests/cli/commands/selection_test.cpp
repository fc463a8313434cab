#include "cli/commands/selection.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cli/connections.h"

namespace cli {
namespace {

using Names = std::vector<std::string>;

Selection select(const SelectionWords& words) {
  std::string wrong;
  const std::optional<Selection> selection = checkSelection(words, &wrong);
  EXPECT_TRUE(selection) << wrong;
  return selection.value_or(Selection());
}

std::string complaint(const SelectionWords& words) {
  std::string wrong;
  EXPECT_FALSE(checkSelection(words, &wrong));
  return wrong;
}

Connection share(const std::string& who, const std::string& descr) {
  return connection(4711, who, "CIFS", "10.20.0.2", descr);
}

TEST(Selection, RefusesToMeanEverybody) {
  EXPECT_EQ(complaint(SelectionWords{}), "whom? Give a PID, --user, --from, --service or --filter");
}

TEST(Selection, RefusesEmptyConditions) {
  SelectionWords words;
  words.user = "";
  EXPECT_EQ(complaint(words), "--user must not be empty: leave it out to mean any");
  words = {};
  words.from = "";
  EXPECT_EQ(complaint(words), "--from must not be empty: leave it out to mean any");
  words = {};
  words.filter = "";
  EXPECT_EQ(complaint(words), "--filter must not be empty: leave it out to mean any");
}

TEST(Selection, RefusesPidsThatAreNone) {
  for (const char* word : {"0", "-1", "+1", "1x", "", " 1", "4294967296", "alice"}) {
    SelectionWords words;
    words.pids = {"12", word};
    EXPECT_EQ(complaint(words), "\"" + std::string(word) +
                                    "\" is no process id: give a number of the list's column PID");
  }
}

TEST(Selection, KnowsServicesInAnyLetterCase) {
  for (const auto& [word, type] :
       {std::pair{"SMB", "CIFS"}, std::pair{"cifs", "CIFS"}, std::pair{"Web", "HTTP/HTTPS"},
        std::pair{"http/https", "HTTP/HTTPS"}, std::pair{"nfs", "NFS"},
        std::pair{"SFTP", "SFTP"}}) {
    SelectionWords words;
    words.service = word;
    EXPECT_EQ(select(words).type, type) << word;
  }
}

TEST(Selection, RefusesUnknownServices) {
  SelectionWords words;
  words.service = "gopher";
  EXPECT_EQ(
      complaint(words),
      "--service must be cifs, afp, ftp, sftp, ssh, telnet, nfs, login, web or unknown, found "
      "\"gopher\"");
}

TEST(Selection, FindsRootUnderTheNameOfTheList) {
  SelectionWords words;
  words.user = "root";
  EXPECT_EQ(select(words).user, "admin");
}

TEST(IsSelected, WantsEveryConditionToHold) {
  const Connection alice = connection(12, "alice", "SSH", "10.20.0.2");
  EXPECT_TRUE(isSelected(alice, {{12}, "alice", "10.20.0.2", "SSH", ""}));
  EXPECT_FALSE(isSelected(alice, {{13}, "alice", "10.20.0.2", "SSH", ""}));
  EXPECT_FALSE(isSelected(alice, {{12}, "bob", "10.20.0.2", "SSH", ""}));
  EXPECT_FALSE(isSelected(alice, {{12}, "alice", "10.20.0.3", "SSH", ""}));
  EXPECT_FALSE(isSelected(alice, {{12}, "alice", "10.20.0.2", "CIFS", ""}));
}

TEST(IsSelected, TakesOneOfSeveralPids) {
  EXPECT_TRUE(isSelected(connection(12, "alice"), {{11, 12}, "", "", "", ""}));
}

TEST(IsSelected, ComparesUserNamesWhole) {
  EXPECT_FALSE(isSelected(connection(12, "alice"), {{}, "Alice", "", "", ""}));
  EXPECT_FALSE(isSelected(connection(12, "alice2"), {{}, "alice", "", "", ""}));
}

TEST(IsSelected, TakesEveryWayToWriteAnAddress) {
  const Connection alice = connection(12, "alice", "SSH", "fd00::1");
  EXPECT_TRUE(isSelected(alice, {{}, "", "FD00:0:0:0:0:0:0:1", "", ""}));
  EXPECT_FALSE(isSelected(alice, {{}, "", "fd00::2", "", ""}));
  EXPECT_FALSE(isSelected(alice, {{}, "", "fd00::", "", ""}));
}

TEST(IsSelected, FindsAUserBehindTheNameOfAnother) {
  const Connection shared = share("alice", "media (alice), photos (bob)");
  EXPECT_TRUE(isSelected(shared, {{}, "bob", "", "", ""}));
  EXPECT_FALSE(isSelected(shared, {{}, "carol", "", "", ""}));
}

TEST(UsersOf, NamesTheOwnUserFirstAndEachOnce) {
  EXPECT_EQ(usersOf(share("bob", "media (alice), photos (bob), (carol), x (alice)")),
            (Names{"bob", "alice", "carol"}));
}

TEST(UsersOf, TakesResourcesWithoutANameForTheOwnUsers) {
  EXPECT_EQ(usersOf(share("alice", "media, photos")), Names{"alice"});
  EXPECT_EQ(usersOf(share("alice", "")), Names{"alice"});
  EXPECT_EQ(usersOf(share("alice", "media(bob), ), (, ()")), Names{"alice"});
}

TEST(UsersOf, NamesRootAsTheListDoes) {
  EXPECT_EQ(usersOf(share("admin", "media (root), photos (bob)")), (Names{"admin", "bob"}));
}

TEST(UsersOf, TrustsNoNamesThatAClientGaveItsFolders) {
  EXPECT_EQ(usersOf(connection(12, "mallory", "SFTP", "10.20.0.2", "/home/mallory/x (alice)")),
            Names{"mallory"});
}

TEST(UsersOf, LeavesOutAnUnknownUser) {
  EXPECT_EQ(usersOf(connection(12, "")), Names{});
}

}  // namespace
}  // namespace cli
