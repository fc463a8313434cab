#include "arguments.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

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
  EXPECT_EQ(read.listing, expected);
  EXPECT_EQ(read.configFile, std::nullopt);
}

TEST(Arguments, ReadTheCallersOwnConnectionsAsRootsWhereNobodyIsNamed) {
  EXPECT_EQ(command({"mine"}).listing.user, "admin");
  EXPECT_EQ(command({"mine", "--user", "alice"}).listing.user, "alice");
  EXPECT_EQ(command({"list"}).listing.user, std::nullopt);
}

TEST(Arguments, TakeTheConfigurationBeforeAndAfterTheCommand) {
  EXPECT_EQ(command({"--config", "a.toml", "list"}).configFile, "a.toml");
  EXPECT_EQ(command({"list", "--config", "b.toml"}).configFile, "b.toml");
}

TEST(Arguments, TakeTheLastOfARepeatedOption) {
  EXPECT_EQ(command({"list", "--start", "1", "--start", "2"}).listing.start, 2);
}

TEST(Arguments, TakeValuesThatLookLikeOptionsOrAreEmpty) {
  EXPECT_EQ(command({"list", "--filter", "-x"}).listing.filter, "-x");
  EXPECT_EQ(command({"list", "--filter=--json"}).listing.filter, "--json");
  EXPECT_EQ(command({"list", "--filter=", "--start", "3"}).listing.start, 3);
  EXPECT_EQ(command({"list", "--filter", ""}).listing.filter, "");
  EXPECT_EQ(command({"list", "--filter", "[a,b]"}).listing.filter, "[a,b]");
  EXPECT_EQ(command({"list", "--filter", "a=b"}).listing.filter, "a=b");
  EXPECT_EQ(command({"list", "--filter", "\"q\" %s"}).listing.filter, "\"q\" %s");
}

TEST(Arguments, ReadTheTimeOfAWatch) {
  EXPECT_EQ(command({"list", "--watch"}).listing.watch, std::chrono::seconds(2));
  EXPECT_EQ(command({"list", "--watch=0.5"}).listing.watch, std::chrono::milliseconds(500));
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
  for (const char* name : {"list", "mine"}) {
    const Parsed help = parse({name, "--help"});
    EXPECT_EQ(help.kind, Parsed::Kind::kShow);
    EXPECT_NE(help.text.find("Usage: currentconn " + std::string(name)), std::string::npos);
    EXPECT_NE(help.text.find("Examples:\n  currentconn " + std::string(name)), std::string::npos);
  }
}

TEST(Arguments, HelpFitsATerminalOfUsualWidth) {
  for (const std::vector<const char*>& words :
       std::vector<std::vector<const char*>>{{"--help"}, {"list", "--help"}, {"mine", "--help"}}) {
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
            "\"extra\" is one argument too many for \"list\"; see \"currentconn list --help\"");
  EXPECT_EQ(complaint({"list", "mine"}),
            "\"mine\" is one argument too many for \"list\"; see \"currentconn list --help\"");
  EXPECT_EQ(complaint({"list", "--watch", "5"}),
            "\"5\" is one argument too many for \"list\"; a time is given as --watch=SECONDS");
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

TEST(Arguments, PassOnWhatIsWrongWithAListing) {
  EXPECT_EQ(complaint({"list", "--asc", "--desc"}),
            "--asc and --desc exclude each other: give one of them");
  EXPECT_EQ(complaint({"mine", "--user="}),
            "--user must be the name of an account, found an empty text");
}

}  // namespace
}  // namespace cli
