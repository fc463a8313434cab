#include "cli/commands/selection.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/json.h"

namespace cli {
namespace {

Json::Value select(const SelectionWords& words) {
  std::string wrong;
  const std::optional<Json::Value> selection = checkSelection(words, &wrong);
  EXPECT_TRUE(selection) << wrong;
  return selection.value_or(Json::Value());
}

std::string complaint(const SelectionWords& words) {
  std::string wrong;
  EXPECT_FALSE(checkSelection(words, &wrong));
  return wrong;
}

TEST(Selection, RefusesToMeanEverybody) {
  EXPECT_EQ(complaint(SelectionWords{}),
            "nothing selected: give a PID, --user, --from, --service or --filter");
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
    EXPECT_EQ(complaint(words),
              "\"" + std::string(word) +
                  "\" is not a process id: give a number from the column PID of the list");
  }
}

TEST(Selection, KnowsServicesInAnyLetterCase) {
  for (const auto& [word, type] :
       {std::pair{"SMB", "CIFS"}, std::pair{"cifs", "CIFS"}, std::pair{"Web", "HTTP/HTTPS"},
        std::pair{"http/https", "HTTP/HTTPS"}, std::pair{"nfs", "NFS"},
        std::pair{"SFTP", "SFTP"}}) {
    SelectionWords words;
    words.service = word;
    EXPECT_EQ(select(words)["type"].asString(), type) << word;
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

TEST(Selection, IsWhatTheHostTakes) {
  EXPECT_EQ(zevo::compactJson(select({{"12", "13"}, "alice", "10.20.0.2", "ssh", "photos"})),
            R"({"filter":"photos","from":"10.20.0.2","pids":[12,13],"type":"SSH","user":"alice"})");
}

}  // namespace
}  // namespace cli
