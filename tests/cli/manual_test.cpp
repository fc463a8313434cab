#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cli/arguments.h"
#include "host/service_table.h"

namespace cli {
namespace {

using Names = std::set<std::string>;

std::string contentOf(const std::string& path) {
  std::ifstream file(path);
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

std::string helpOf(std::vector<const char*> words) {
  words.insert(words.begin(), "currentconn");
  words.push_back("--help");
  return parseArguments(static_cast<int>(words.size()), words.data()).text;
}

Names matchesIn(const std::string& text, const std::string& pattern) {
  const std::regex expression(pattern);
  Names names;
  for (std::sregex_iterator match(text.begin(), text.end(), expression), end; match != end;
       ++match) {
    names.insert((*match)[1]);
  }
  return names;
}

Names commands() {
  return matchesIn(helpOf({}), "\n  ([a-z][a-z-]*) {2,}[A-Z]");
}

Names optionsInHelp() {
  std::string text = helpOf({});
  for (const std::string& command : commands()) text += helpOf({command.c_str()});
  return matchesIn(text, "[ ,](--[a-z-]+)");
}

std::string manual() {
  const std::string text = contentOf(CURRENTCONN_SOURCES "/docs/currentconn.1");
  return std::regex_replace(text, std::regex(R"(\\-)"), "-");
}

TEST(Manual, NamesEveryOptionOfTheHelpAndNoOther) {
  EXPECT_EQ(matchesIn(manual(), "(--[a-z][a-z-]*)"), optionsInHelp());
}

TEST(Manual, NamesEveryCommandOfTheHelpAndNoOther) {
  EXPECT_EQ(matchesIn(manual(), "\n\\.B currentconn ([a-z-]+)\n"), commands());
}

TEST(Manual, NamesTheServicesThatAKickEnds) {
  Names expected;
  for (const zevo::ListedService& service : zevo::kListedServices) {
    if (service.whyNotEnded == nullptr) expected.emplace(service.words.front());
  }
  const std::string text = manual();
  const std::size_t begin = text.find("Only connections over this service:\n");
  const std::string list = text.substr(begin, text.find("\n.TP", begin) - begin);
  EXPECT_EQ(matchesIn(list.substr(list.find(".BR")), "(?:BR|, \"|or \") ([a-z]+)"), expected);
}

TEST(Completion, NamesEveryOptionOfTheHelpAndNoOther) {
  const std::string folder = CURRENTCONN_SOURCES "/packaging/";
  EXPECT_EQ(matchesIn(contentOf(folder + "currentconn.bash"), "[ '\"(](--[a-z][a-z-]*)"),
            optionsInHelp());
  EXPECT_EQ(matchesIn(contentOf(folder + "currentconn.zsh"), "[ '(),](--[a-z][a-z-]*[a-z])"),
            optionsInHelp());
  Names fish;
  for (const std::string& name :
       matchesIn(contentOf(folder + "currentconn.fish"), " -l ([a-z-]+)")) {
    fish.insert("--" + name);
  }
  EXPECT_EQ(fish, optionsInHelp());
}

TEST(Completion, NamesEveryCommandOfTheHelpAndNoOther) {
  const std::string folder = CURRENTCONN_SOURCES "/packaging/";
  EXPECT_EQ(matchesIn(contentOf(folder + "currentconn.zsh"), "\n    '([a-z-]+):"), commands());
  EXPECT_EQ(matchesIn(contentOf(folder + "currentconn.fish"), " -a ([a-z-]+) -d"), commands());
}

}  // namespace
}  // namespace cli
