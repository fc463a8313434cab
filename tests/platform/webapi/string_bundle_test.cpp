#include "zevo/string_bundle.h"

#include <stdlib.h>

#include <gtest/gtest.h>

#include "host/config.h"
#include "platform/base/temporary_folder.h"

namespace {

using zevo::testing_support::TemporaryFolder;

class Bundle : public testing::Test {
 protected:
  Bundle() { setLocale("C"); }
  ~Bundle() override { setLanguage(""); }

  static void setLocale(const char* locale) { ::setenv("LC_ALL", locale, 1); }
  static void setLanguage(const std::string& language) {
    const TemporaryFolder folder;
    std::string error;
    ASSERT_TRUE(
        zevo::loadConfig(folder.write("c.toml", "language = '" + language + "'"), true, &error))
        << error;
  }
  static std::string time() {
    return StringBundle("common", "log", "pppoe", nullptr, nullptr, nullptr).Text("log_time", "");
  }
};

TEST_F(Bundle, FindsTheTextsBesideItsOwnLibrary) {
  EXPECT_EQ(time(), "Time");
}

TEST_F(Bundle, FollowsTheLocale) {
  setLocale("de_DE.UTF-8");
  EXPECT_EQ(time(), "Zeit");
}

TEST_F(Bundle, FollowsTheConfigurationBeforeTheLocale) {
  setLocale("en_US.UTF-8");
  setLanguage("de");
  EXPECT_EQ(time(), "Zeit");
}

TEST_F(Bundle, GivesTheFallbackForAnUnknownKey) {
  const StringBundle bundle("common", "log", "pppoe", nullptr, nullptr, nullptr);
  const char* fallback = "fallback";
  EXPECT_EQ(bundle.Text("no_such_key", fallback), fallback);
  EXPECT_EQ(bundle.Text(nullptr, fallback), fallback);
  EXPECT_EQ(bundle.Text("no_such_key", nullptr), nullptr);
}

TEST_F(Bundle, KeepsItsTextsInPlace) {
  const StringBundle bundle("log", nullptr, nullptr, nullptr, nullptr, nullptr);
  const char* text = bundle.Text("log_account", "");
  EXPECT_STREQ(text, "User");
  EXPECT_EQ(bundle.Text("log_account", ""), text);
}

TEST_F(Bundle, EndsItsSectionsAtTheFirstNull) {
  const StringBundle bundle("common", nullptr, "log", nullptr, nullptr, nullptr);
  EXPECT_STREQ(bundle.Text("log_account", "none"), "none");
}

}  // namespace
