#include "cli/arguments.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/json.h"

namespace cli {
namespace {

Parsed parse(std::vector<const char*> words) {
  words.insert(words.begin(), "currentconn");
  return parseArguments(static_cast<int>(words.size()), words.data());
}

Command command(const std::vector<const char*>& words) {
  const Parsed parsed = parse(words);
  EXPECT_EQ(parsed.kind, Parsed::Kind::kRun) << parsed.text;
  return parsed.command;
}

Listing listing(const std::vector<const char*>& words) {
  const Command read = command(words);
  const auto* request = std::get_if<Listing>(&read.request);
  EXPECT_TRUE(request);
  return request ? *request : Listing();
}

std::string complaint(const std::vector<const char*>& words) {
  const Parsed parsed = parse(words);
  EXPECT_EQ(parsed.kind, Parsed::Kind::kWrong);
  return parsed.text;
}

TEST(Arguments, ReadAListing) {
  Listing expected;
  expected.filter = "cifs";
  expected.sortBy = "who";
  expected.direction = "ASC";
  expected.start = 1;
  expected.limit = 2;
  expected.asJson = true;
  const Command read = command({"list", "--json", "--filter", "cifs", "--sort-by", "who", "--asc",
                                "--start", "1", "--limit=2"});
  EXPECT_EQ(read.name, "list");
  EXPECT_EQ(std::get<Listing>(read.request), expected);
  EXPECT_EQ(read.configFile, std::nullopt);
}

TEST(Arguments, ReadTheCallersOwnConnectionsAsRootsWhereNobodyIsNamed) {
  EXPECT_EQ(listing({"mine"}).user, "admin");
  EXPECT_EQ(listing({"mine", "--user", "alice"}).user, "alice");
  EXPECT_EQ(listing({"list"}).user, std::nullopt);
}

TEST(Arguments, ReadAKick) {
  Kick expected;
  expected.selection =
      *zevo::parseJson(R"({"user":"alice","from":"10.20.0.2","type":"CIFS","filter":"photos"})");
  for (const unsigned pid : {12U, 4711U}) expected.selection["pids"].append(pid);
  expected.isConfirmed = true;
  const Command read = command({"kick", "12", "4711", "--user", "alice", "--from", "10.20.0.2",
                                "--service", "SMB", "--filter", "photos", "--yes"});
  EXPECT_EQ(std::get<Kick>(read.request), expected);
  expected.isConfirmed = false;
  expected.isDryRun = true;
  expected.selection = Json::Value(Json::objectValue);
  expected.selection["pids"].append(12U);
  EXPECT_EQ(std::get<Kick>(command({"kick", "--dry-run", "12"}).request), expected);
}

TEST(Arguments, ReadADisabling) {
  const Disable expected = {{"alice", "bob"}, true, false};
  EXPECT_EQ(std::get<Disable>(command({"disable", "alice", "bob", "--yes"}).request), expected);
}

TEST(Arguments, TakeTheNameOfACommandForAnAccount) {
  EXPECT_EQ(std::get<Disable>(command({"disable", "list", "kick"}).request).users,
            (std::vector<std::string>{"list", "kick"}));
}

TEST(Arguments, NameTheAccountsToEnable) {
  EXPECT_EQ(std::get<Enable>(command({"enable", "alice", "bob", "alice"}).request),
            (Enable{{"alice", "bob"}}));
  EXPECT_EQ(std::get<Enable>(command({"enable", "--", "-b"}).request), (Enable{{"-b"}}));
  EXPECT_FALSE(std::get<ShowDisabled>(command({"disabled"}).request).asJson);
  EXPECT_TRUE(std::get<ShowDisabled>(command({"disabled", "--json"}).request).asJson);
}

TEST(Arguments, ReadAReport) {
  Report expected;
  expected.file = "currentlog.html";
  EXPECT_EQ(std::get<Report>(command({"report"}).request), expected);
  expected.file = "-";
  expected.listing.filter = "cifs";
  expected.listing.sortBy = "who";
  expected.listing.direction = "ASC";
  EXPECT_EQ(
      std::get<Report>(
          command({"report", "--filter", "cifs", "--sort-by", "who", "--asc", "-o", "-"}).request),
      expected);
}

TEST(Arguments, TakeTheConfigurationBeforeAndAfterTheCommand) {
  EXPECT_EQ(command({"--config", "a.toml", "list"}).configFile, "a.toml");
  EXPECT_EQ(command({"list", "--config", "b.toml"}).configFile, "b.toml");
}

TEST(Arguments, TakeTheLastOfARepeatedOption) {
  EXPECT_EQ(listing({"list", "--start", "1", "--start", "2"}).start, 2);
}

TEST(Arguments, TakeValuesThatLookLikeOptionsOrAreEmpty) {
  EXPECT_EQ(listing({"list", "--filter", "-x"}).filter, "-x");
  EXPECT_EQ(listing({"list", "--filter=--json"}).filter, "--json");
  EXPECT_EQ(listing({"list", "--filter=", "--start", "3"}).start, 3);
  EXPECT_EQ(listing({"list", "--filter", ""}).filter, "");
  EXPECT_EQ(listing({"list", "--filter", "[a,b]"}).filter, "[a,b]");
  EXPECT_EQ(listing({"list", "--filter", "a=b"}).filter, "a=b");
  EXPECT_EQ(listing({"list", "--filter", "\"q\" %s"}).filter, "\"q\" %s");
}

TEST(Arguments, ReadTheTimeOfAWatch) {
  EXPECT_EQ(listing({"list", "--watch"}).watch, std::chrono::seconds(2));
  EXPECT_EQ(listing({"list", "--watch=0.5"}).watch, std::chrono::milliseconds(500));
}

TEST(Arguments, ShowHelpAndVersionWithoutACommand) {
  const Parsed help = parse({"--help"});
  EXPECT_EQ(help.kind, Parsed::Kind::kShow);
  EXPECT_NE(help.text.find("Examples:"), std::string::npos);
  const Parsed version = parse({"--version"});
  EXPECT_EQ(version.kind, Parsed::Kind::kShow);
  EXPECT_EQ(version.text, "currentconn " CURRENTCONN_VERSION "\n");
}

TEST(Arguments, ShowExamplesInTheHelpOfEachCommand) {
  for (const char* name :
       {"list", "mine", "kick", "disable", "enable", "disabled", "report", "login-link"}) {
    const Parsed help = parse({name, "--help"});
    EXPECT_EQ(help.kind, Parsed::Kind::kShow);
    EXPECT_NE(help.text.find("Usage: currentconn " + std::string(name)), std::string::npos);
    EXPECT_NE(help.text.find("Examples:\n  currentconn " + std::string(name)), std::string::npos);
  }
}

TEST(Arguments, HelpFitsATerminalOfUsualWidth) {
  for (const std::vector<const char*>& words :
       std::vector<std::vector<const char*>>{{"--help"},
                                             {"list", "--help"},
                                             {"mine", "--help"},
                                             {"kick", "--help"},
                                             {"disable", "--help"},
                                             {"report", "--help"},
                                             {"login-link", "--help"}}) {
    const std::string text = parse(words).text;
    for (std::size_t begin = 0; begin < text.size();) {
      const std::size_t end = text.find('\n', begin);
      EXPECT_LE(end - begin, 80U) << text.substr(begin, end - begin);
      begin = end + 1;
    }
  }
}

TEST(Arguments, ComplainOfAMissingOrUnknownCommand) {
  EXPECT_EQ(complaint({}), "a command is missing; see \"currentconn --help\"");
  EXPECT_EQ(complaint({"lst"}), "there is no command \"lst\"; see \"currentconn --help\"");
  EXPECT_EQ(complaint({""}), "there is no command \"\"; see \"currentconn --help\"");
  EXPECT_EQ(complaint({"--bogus"}), "there is no option \"--bogus\"; see \"currentconn --help\"");
}

TEST(Arguments, ComplainOfAnUnknownOption) {
  EXPECT_EQ(complaint({"list", "--bogus=3"}),
            "\"list\" has no option \"--bogus\"; see \"currentconn list --help\"");
  EXPECT_EQ(complaint({"list", "--fil", "x"}),
            "\"list\" has no option \"--fil\"; see \"currentconn list --help\"");
  EXPECT_EQ(complaint({"list", "-x"}),
            "\"list\" has no option \"-x\"; see \"currentconn list --help\"");
  EXPECT_EQ(complaint({"list", "--user", "alice"}),
            "\"list\" has no option \"--user\"; see \"currentconn list --help\"");
}

TEST(Arguments, ComplainOfAFilterWhereTheMethodTakesNone) {
  EXPECT_EQ(complaint({"mine", "--filter", "x"}),
            "\"mine\" shows all connections of one user and takes no --filter; see \"currentconn "
            "list --help\"");
}

TEST(Arguments, ComplainOfOneTooMany) {
  EXPECT_EQ(complaint({"list", "extra"}),
            "unexpected argument \"extra\" for \"list\"; see \"currentconn list --help\"");
  EXPECT_EQ(complaint({"list", "mine"}),
            "unexpected argument \"mine\" for \"list\"; see \"currentconn list --help\"");
  EXPECT_EQ(complaint({"list", "--watch", "5"}),
            "unexpected argument \"5\" for \"list\"; a time is given as --watch=SECONDS");
}

TEST(Arguments, ComplainOfAMissingValue) {
  for (const char* option : {"--filter", "--sort-by", "--start", "--limit", "--config"}) {
    EXPECT_EQ(complaint({"list", option}),
              std::string(option) + " needs a value; see \"currentconn list --help\"");
  }
}

TEST(Arguments, ComplainOfAValueWhereNoneIsTaken) {
  for (const char* option : {"--json", "--asc", "--desc"}) {
    EXPECT_EQ(complaint({"list", (std::string(option) + "=yes").c_str()}),
              std::string(option) + " takes no value; see \"currentconn list --help\"");
  }
}

TEST(Arguments, ComplainOfAKickOfEverybody) {
  EXPECT_EQ(complaint({"kick"}),
            "nothing selected: give a PID, --user, --from, --service or --filter");
  EXPECT_EQ(complaint({"kick", "--yes"}),
            "nothing selected: give a PID, --user, --from, --service or --filter");
}

TEST(Arguments, ComplainOfAccountsThatAreNone) {
  EXPECT_EQ(complaint({"enable"}),
            "no account selected: give the names of accounts; \"currentconn disabled\" lists them");
  EXPECT_EQ(complaint({"enable", ""}), "the name of an account must not be empty");
  EXPECT_EQ(complaint({"disable"}), "no account selected: give the names of accounts");
  EXPECT_EQ(complaint({"disable", "alice", ""}), "the name of an account must not be empty");
}

TEST(Arguments, ComplainOfAReportWithoutAFile) {
  EXPECT_EQ(complaint({"report", "--output="}),
            "--output must be the name of a file, or - to print the report");
}

TEST(Arguments, PassOnWhatIsWrongWithAListing) {
  EXPECT_EQ(complaint({"list", "--asc", "--desc"}),
            "--asc and --desc exclude each other: give one of them");
  EXPECT_EQ(complaint({"mine", "--user="}),
            "--user must be the name of an account, found an empty string");
}

}  // namespace
}  // namespace cli
