#include "host/config_check.h"

#include <gtest/gtest.h>

#include "host/config.h"
#include "platform/base/temporary_folder.h"

namespace zevo {
namespace {

using testing_support::TemporaryFolder;

class ConfigCheck : public testing::Test {
 protected:
  ~ConfigCheck() override {
    std::string error;
    loadConfig("/nonexistent", false, &error);
  }
  // The error that a configuration gives whose second line is `line`.
  std::string errorOf(const std::string& line) {
    std::string error;
    EXPECT_TRUE(loadConfig(folder_.write("c.toml", "#\n" + line), true, &error)) << error;
    return checkConfig(&error) ? "" : error;
  }
  [[nodiscard]] std::string place() const { return folder_.file("c.toml") + ":2: "; }

  TemporaryFolder folder_;
};

TEST_F(ConfigCheck, NamesTheLanguagesThatThereAre) {
  EXPECT_EQ(errorOf("language = 'klingon'"),
            place() +
                "there are no texts in the language \"klingon\"; the languages are de, en, es, "
                "fr, ja, zh_CN");
  EXPECT_NE(errorOf("language = 'C'"), "");
}

TEST_F(ConfigCheck, TakesALanguageThatThereIs) {
  for (const char* language : {"", "de", "en", "de-AT", "zh_CN"}) {
    EXPECT_EQ(errorOf(std::string("language = '") + language + "'"), "");
  }
}

TEST_F(ConfigCheck, NeedsTheGroupOfAdministrators) {
  EXPECT_EQ(
      errorOf("administrators_group = 'admns'"),
      place() +
          "there is no group \"admns\"; set administrators_group to a group of this server, or "
          "to \"\" for the first of administrators, sudo and wheel that exists");
}

TEST_F(ConfigCheck, TakesAGroupThatThereIs) {
  EXPECT_EQ(errorOf("administrators_group = 'root'"), "");
  EXPECT_EQ(errorOf("administrators_group = ''"), "");
}

}  // namespace
}  // namespace zevo
