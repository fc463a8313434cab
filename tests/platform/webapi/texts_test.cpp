#include "webapi/texts.h"

#include <filesystem>
#include <stdlib.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/base/temporary_folder.h"

namespace zevo {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing_support::TemporaryFolder;

TEST(Languages, AreTriedTheClosestFirst) {
  EXPECT_THAT(languagesOf("zh_CN.UTF-8"), ElementsAre("zh_CN", "zh"));
  EXPECT_THAT(languagesOf("de-AT@euro"), ElementsAre("de_AT", "de"));
  EXPECT_THAT(languagesOf("fr"), ElementsAre("fr"));
}

TEST(Languages, AreNeverPaths) {
  for (const char* locale :
       {"", "C", "C.UTF-8", "POSIX", "../de", "/etc/de", "de/../x", "_DE", "d e"}) {
    EXPECT_THAT(languagesOf(locale), IsEmpty()) << locale;
  }
}

TEST(EnvironmentLocale, TakesTheStrongestVariableThatIsSet) {
  ::setenv("LANG", "de_DE", 1);
  ::unsetenv("LC_ALL");
  ::unsetenv("LC_MESSAGES");
  EXPECT_EQ(environmentLocale(), "de_DE");
  ::setenv("LC_MESSAGES", "fr_FR", 1);
  EXPECT_EQ(environmentLocale(), "fr_FR");
  ::setenv("LC_ALL", "", 1);
  EXPECT_EQ(environmentLocale(), "fr_FR");
  ::setenv("LC_ALL", "es_ES", 1);
  EXPECT_EQ(environmentLocale(), "es_ES");
}

TEST(Languages, AreThoseThatHaveAFile) {
  const TemporaryFolder folder;
  for (const char* name : {"zh_CN.json", "de.json", "de.txt"}) folder.write(name, "{}");
  EXPECT_THAT(languagesIn(folder.path()), ElementsAre("de", "zh_CN"));
  EXPECT_EQ(closestLanguage(folder.path(), "de-AT"), "de");
  EXPECT_EQ(closestLanguage(folder.path(), "zh_CN"), "zh_CN");
  EXPECT_EQ(closestLanguage(folder.path(), "zh"), std::nullopt);
  EXPECT_EQ(closestLanguage(folder.path(), "C"), std::nullopt);
  EXPECT_THAT(languagesIn("/nonexistent"), IsEmpty());
}

class Texts : public testing::Test {
 protected:
  Texts() {
    folder_.write("en.json", R"({"a":{"x":"X","y":"Y"},"b":{"z":"Z"}})");
    folder_.write("de.json", R"({"a":{"x":"iX","n":5},"b":[],"c":{"q":"Q"}})");
  }

  std::vector<Section> read(const std::string& locale, bool mustExist = false) {
    std::vector<Section> sections;
    succeeded_ = readTexts(folder_.path(), locale, mustExist, {"a", "b"}, &sections, &problem_);
    return sections;
  }

  TemporaryFolder folder_;
  bool succeeded_ = false;
  std::string problem_;
  const Section englishA_ = {{"x", "X"}, {"y", "Y"}};
  const Section englishB_ = {{"z", "Z"}};
};

TEST_F(Texts, AreEnglishWithoutALocale) {
  EXPECT_THAT(read("C"), ElementsAre(englishA_, englishB_));
  EXPECT_TRUE(succeeded_);
}

TEST_F(Texts, TakeWhatTheLanguageLacksFromEnglish) {
  EXPECT_THAT(read("de_DE.UTF-8"), ElementsAre(Section{{"x", "iX"}, {"y", "Y"}}, englishB_));
  EXPECT_TRUE(succeeded_);
}

TEST_F(Texts, PreferTheLanguageOfTheTerritory) {
  folder_.write("de_AT.json", R"({"a":{"x":"aX"}})");
  EXPECT_EQ(read("de_AT")[0].at("x"), "aX");
}

TEST_F(Texts, AreEnglishForALocaleWithoutAFile) {
  EXPECT_THAT(read("fr_FR"), ElementsAre(englishA_, englishB_));
  EXPECT_TRUE(succeeded_);
}

TEST_F(Texts, AreEnglishWithAWordWhereTheConfiguredLanguageIsMissing) {
  EXPECT_THAT(read("fr", true), ElementsAre(englishA_, englishB_));
  EXPECT_FALSE(succeeded_);
  EXPECT_EQ(problem_, "there are no texts in the language \"fr\" in " + folder_.path());
}

TEST_F(Texts, SurviveFilesThatAreNoTexts) {
  for (const std::string& content :
       {std::string(), std::string("["), std::string("[1]"), std::string("\xFF"),
        std::string(100000, '['), std::string("{\"a\":")}) {
    folder_.write("de.json", content);
    EXPECT_THAT(read("de"), ElementsAre(englishA_, englishB_));
    EXPECT_FALSE(succeeded_);
    EXPECT_THAT(problem_, HasSubstr("de.json"));
  }
}

TEST_F(Texts, AreEmptyWithoutAnyFile) {
  std::filesystem::remove(folder_.file("en.json"));
  EXPECT_THAT(read("C"), ElementsAre(Section(), Section()));
  EXPECT_EQ(problem_, "cannot open " + folder_.file("en.json") + ": No such file or directory");
}

TEST(TextFiles, HaveTheSameKeysInEveryLanguage) {
  const std::vector<std::string> names = {"common", "log", "pppoe"};
  std::vector<Section> english;
  std::string problem;
  ASSERT_TRUE(readTexts(TEXTS_FOLDER, "en", true, names, &english, &problem)) << problem;
  EXPECT_THAT(english[1], testing::SizeIs(5));
  TemporaryFolder alone;
  alone.write("en.json", "{}");
  for (const auto& file : std::filesystem::directory_iterator(TEXTS_FOLDER)) {
    if (file.path().extension() != ".json" || file.path().stem() == "en") continue;
    std::filesystem::copy(file.path(), alone.file(file.path().filename()));
    std::vector<Section> texts;
    ASSERT_TRUE(readTexts(alone.path(), file.path().stem(), true, names, &texts, &problem))
        << problem;
    for (std::size_t i = 0; i < names.size(); ++i) {
      std::vector<std::string> keys, expected;
      for (const auto& [key, text] : texts[i]) {
        keys.push_back(key);
        EXPECT_NE(text, "");
      }
      for (const auto& [key, text] : english[i]) expected.push_back(key);
      EXPECT_EQ(keys, expected) << file.path();
    }
  }
}

}  // namespace
}  // namespace zevo
