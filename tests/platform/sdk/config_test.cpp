#include "host/config.h"

#include <string>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/base/temporary_folder.h"
#include "sdk/config_text.h"

namespace zevo {
namespace {

using testing::HasSubstr;
using testing::StartsWith;
using testing_support::contentOf;
using testing_support::TemporaryFolder;

// The error that reading `text` gives; empty on success.
std::string errorOf(const std::string& text) {
  Config config;
  ConfigLines lines = {{"language", 7}};
  const ConfigLines before = lines;
  std::string error;
  if (parseConfig(text, "FILE", &config, &lines, &error)) return "";
  EXPECT_EQ(config, Config()) << "a refused file changed the configuration";
  EXPECT_EQ(lines, before);
  return error;
}

TEST(Config, ReadsEveryKey) {
  Config config;
  ConfigLines lines;
  std::string error;
  ASSERT_TRUE(parseConfig(
      "language = 'de'\nsession_file = '/s'\nidle_minutes = 1440\nlogin_hours = 168\n"
      "tool_seconds = 120\nsmbstatus = '/opt/smbstatus'\n"
      "pdbedit = '/opt/pdbedit'\nstate_folder = '/srv/state'\nlist_folder = '/srv/list'\n"
      "administrators_group = 'ops'\nmin_admins = 3\n"
      "web_socket = '/w'\nweb_group = 'http'\nlocal_socket = '/l'\n"
      "root_password_login = true\nmodule_folder = '/m'\npam_folder = '/p'\nmax_calls = "
      "32\ncall_seconds = 5\n",
      "FILE", &config, &lines, &error))
      << error;
  Config expected;
  expected.language = "de";
  expected.sessionFile = "/s";
  expected.idleLimit = std::chrono::hours(24);
  expected.loginLimit = std::chrono::hours(168);
  expected.toolLimit = std::chrono::minutes(2);
  expected.smbstatus = "/opt/smbstatus";
  expected.pdbedit = "/opt/pdbedit";
  expected.stateFolder = "/srv/state";
  expected.listFolder = "/srv/list";
  expected.administratorsGroup = "ops";
  expected.minAdmins = 3;
  expected.webSocket = "/w";
  expected.webGroup = "http";
  expected.localSocket = "/l";
  expected.rootPasswordLogin = true;
  expected.moduleFolder = "/m";
  expected.pamFolder = "/p";
  expected.maxCalls = 32;
  expected.callLimit = std::chrono::seconds(5);
  EXPECT_EQ(config, expected);
}

TEST(Config, PackagedFileHoldsEveryKeyWithItsDefault) {
  const std::string packaged = contentOf(PACKAGED_CONFIG);
  Config config;
  ConfigLines lines;
  std::string error;
  ASSERT_TRUE(parseConfig(packaged, "packaged", &config, &lines, &error)) << error;
  EXPECT_EQ(config, Config());
  for (const char* key :
       {"language", "session_file", "idle_minutes", "login_hours", "tool_seconds", "smbstatus",
        "pdbedit", "state_folder", "list_folder", "administrators_group", "min_admins",
        "web_socket", "web_group", "local_socket", "root_password_login", "module_folder",
        "pam_folder", "max_calls", "call_seconds"}) {
    EXPECT_THAT(packaged, HasSubstr(std::string("\n") + key + " = "));
  }
}

TEST(Config, RefusesAnUnknownKeyWithItsLine) {
  EXPECT_EQ(
      errorOf("\nlangage = 'de'\n"),
      "FILE:2: there is no key \"langage\"; the keys are language, session_file, "
      "idle_minutes, login_hours, tool_seconds, smbstatus, pdbedit, state_folder, list_folder, "
      "administrators_group, "
      "min_admins, web_socket, "
      "web_group, "
      "local_socket, root_password_login, module_folder, pam_folder, max_calls, call_seconds");
}

TEST(Config, RefusesAValueOutOfRange) {
  EXPECT_EQ(errorOf("idle_minutes = 0"), "FILE:1: idle_minutes must be 1 to 1440, found 0");
  EXPECT_EQ(errorOf("idle_minutes = 1441"), "FILE:1: idle_minutes must be 1 to 1440, found 1441");
  EXPECT_EQ(errorOf("#\n#\ntool_seconds = 121"),
            "FILE:3: tool_seconds must be 1 to 120, found 121");
  EXPECT_EQ(errorOf("min_admins = -1"), "FILE:1: min_admins must be 0 to 1000, found -1");
  EXPECT_EQ(errorOf("tool_seconds = 9223372036854775807"),
            "FILE:1: tool_seconds must be 1 to 120, found 9223372036854775807");
}

TEST(Config, RefusesAValueOfAnotherType) {
  EXPECT_EQ(errorOf("idle_minutes = '5'"), "FILE:1: idle_minutes must be 1 to 1440, found \"5\"");
  EXPECT_EQ(errorOf("idle_minutes = 5.0"),
            "FILE:1: idle_minutes must be 1 to 1440, found a fraction");
  EXPECT_EQ(errorOf("idle_minutes = true"), "FILE:1: idle_minutes must be 1 to 1440, found true");
  EXPECT_EQ(errorOf("smbstatus = ['/a']"),
            "FILE:1: smbstatus must be an absolute path in quotes, found an array");
  EXPECT_EQ(errorOf("root_password_login = 1"),
            "FILE:1: root_password_login must be true or false, found 1");
  EXPECT_EQ(errorOf("[language]"),
            "FILE:1: language must be the name of a language such as \"de\", or \"\", "
            "found a table");
}

TEST(Config, RefusesPathsThatAreNotAbsolute) {
  for (const char* path : {"", "sessions", "./s", "/run/s/", "/run/\\u0000s"}) {
    EXPECT_THAT(errorOf(std::string("session_file = \"") + path + "\""),
                HasSubstr("session_file must be an absolute path in quotes"));
  }
  EXPECT_THAT(errorOf("language = '../x'"), HasSubstr("must be the name of a language"));
}

TEST(Config, NamesTheLineOfASyntaxError) {
  EXPECT_THAT(errorOf("language = 'de'\nidle_minutes = \n"), StartsWith("FILE:2: "));
  EXPECT_THAT(errorOf("language = '\xFF'"), StartsWith("FILE:1: "));
  EXPECT_THAT(errorOf(std::string(100000, '[')), StartsWith("FILE:1: "));
}

TEST(Config, KnowsTheLineOfEachKeyThatIsSet) {
  Config config;
  ConfigLines lines = {{"pam_folder", 9}};
  std::string error;
  ASSERT_TRUE(
      parseConfig("\nlanguage = 'de'\n# three\nmin_admins = 1\n", "FILE", &config, &lines, &error))
      << error;
  EXPECT_EQ(lines, (ConfigLines{{"language", 2}, {"min_admins", 4}}));
}

class ConfigFile : public testing::Test {
 protected:
  ~ConfigFile() override {
    std::string error;
    loadConfig("/nonexistent", false, &error);
  }

  std::string load(const std::string& path, bool required = true) {
    std::string error;
    return loadConfig(path, required, &error) ? "" : error;
  }

  TemporaryFolder folder_;
};

TEST_F(ConfigFile, BecomesTheProcesssConfiguration) {
  EXPECT_EQ(load(folder_.write("c.toml", "idle_minutes = 7")), "");
  EXPECT_EQ(config().idleLimit, std::chrono::minutes(7));
}

TEST_F(ConfigFile, TellsWhereAKeyIsSetThatCannotBeUsed) {
  const std::string path = folder_.write("c.toml", "#\nweb_group = 'nobodies'");
  ASSERT_EQ(load(path), "");
  EXPECT_EQ(configProblem("web_group", "it is empty"), path + ":2: it is empty");
  EXPECT_EQ(configProblem("pam_folder", "it is empty"), "it is empty");
  EXPECT_NE(load(folder_.write("bad.toml", "\n\n\nweb_group = 5")), "");
  EXPECT_EQ(configProblem("web_group", "it is empty"), path + ":2: it is empty");
  ASSERT_EQ(load("/nonexistent/c.toml", false), "");
  EXPECT_EQ(configProblem("web_group", "it is empty"), "it is empty");
}

TEST_F(ConfigFile, MayBeMissingUnlessRequired) {
  EXPECT_EQ(load("/nonexistent/c.toml", false), "");
  EXPECT_EQ(config(), Config());
  EXPECT_EQ(load("/nonexistent/c.toml"),
            "cannot read /nonexistent/c.toml: No such file or directory");
}

TEST_F(ConfigFile, ChangesNothingWhereItIsRefused) {
  ASSERT_EQ(load(folder_.write("good.toml", "idle_minutes = 7")), "");
  EXPECT_NE(load(folder_.write("bad.toml", "idle_minutes = 8\nminutes = 1")), "");
  EXPECT_NE(load(folder_.path()), "");
  EXPECT_EQ(config().idleLimit, std::chrono::minutes(7));
}

TEST_F(ConfigFile, IsRefusedByRootWhereOthersCouldHaveWrittenIt) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root refuses it";
  const std::string path = folder_.write("c.toml", "");
  for (const auto& [owner, mode] : {std::pair<uid_t, mode_t>{0, 0664}, {0, 0646}, {12, 0644}}) {
    ASSERT_EQ(::chown(path.c_str(), owner, 0), 0);
    ASSERT_EQ(::chmod(path.c_str(), mode), 0);
    EXPECT_EQ(load(path), "cannot read " + path +
                              ": users other than root can write it; check it, then chown root " +
                              path + " and chmod go-w " + path);
  }
  ASSERT_EQ(::chown(path.c_str(), 0, 0), 0);
  ASSERT_EQ(::chmod(path.c_str(), 0644), 0);
  EXPECT_EQ(load(path), "");
}

}  // namespace
}  // namespace zevo
