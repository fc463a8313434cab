#include "cgi/session_writer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "zevo/cgi.h"
#include "zevo/error.h"

#include "cgi/session_record.h"
#include "platform/cgi/session_fixture.h"

namespace zevo {
namespace {

using testing::ElementsAre;
using testing_support::SessionFixture;

class SessionWriter : public SessionFixture {
 protected:
  int append(const Login& login) const { return appendLogin(path(), login, 1000); }

  const std::string aliceLine_ =
      R"("idA":{"1":"10.20.0.2","2":"alice","3":1,"4":1795210000,"5":"Firefox"})"
      "\n";
};

TEST_F(SessionWriter, AppendsOneLineForALogin) {
  EXPECT_EQ(append(login("idA")), 1);
  EXPECT_EQ(append(login("idB", "bob")), 2);
  EXPECT_EQ(content(), aliceLine_ +
                           R"("idB":{"1":"10.20.0.2","2":"bob","3":2,"4":1795210000,"5":"Firefox"})"
                           "\n");
  EXPECT_TRUE(std::filesystem::exists(accessFile("idA")));
}

TEST_F(SessionWriter, LeavesNothingButItsFiles) {
  append(login("idA"));
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder_.file("run"))) {
    names.push_back(entry.path().filename());
  }
  EXPECT_THAT(names,
              testing::UnorderedElementsAre("sessions", "sessions.access.time", "sessions.lock"));
}

TEST_F(SessionWriter, MarksAHiddenLogin) {
  Login hidden = login("idA");
  hidden.isHidden = true;
  hidden.browser = "";
  append(hidden);
  EXPECT_EQ(content(),
            R"("idA":{"1":"10.20.0.2","2":"alice","3":1,"4":1795210000,"16":{"hide":true}})"
            "\n");
}

TEST_F(SessionWriter, ShortensTheBrowsersNameUntilTheLineFits) {
  Login chatty = login("idA");
  chatty.browser = std::string(5000, 'x');
  append(chatty);
  EXPECT_EQ(content().size(), 640U);
  chatty.id = "idB";
  chatty.browser.clear();
  for (int i = 0; i < 500; ++i) chatty.browser += "\u20ac";
  append(chatty);
  const std::string second = content().substr(640);
  EXPECT_LE(second.size(), 640U);
  EXPECT_GT(second.size(), 637U);
  EXPECT_TRUE(parseSessionRecord(second));
}

TEST_F(SessionWriter, KeepsTheLineOneLineWhateverTheBrowserIsCalled) {
  Login hostile = login("idA");
  hostile.browser = std::string("a\nb\0\"c\\ \xFF\x1b[2J", 13);
  ASSERT_EQ(append(hostile), 1);
  const JsonObject record = parseSessionRecord(content());
  ASSERT_TRUE(record);
  EXPECT_STREQ(sessionText(record.get(), kBrowserField), "a\uFFFDb\uFFFD\"c\\ \uFFFD\uFFFD[2J");
}

TEST_F(SessionWriter, EscapesWhatTheUsersNameHolds) {
  ASSERT_EQ(append(login("idA", "a\"\\\n\u00e4/")), 1);
  const JsonObject record = parseSessionRecord(content());
  ASSERT_TRUE(record);
  EXPECT_STREQ(sessionText(record.get(), kUserField), "a\"\\\n\u00e4/");
}

TEST_F(SessionWriter, RefusesWhatCannotBeRecorded) {
  append(login("idA"));
  EXPECT_EQ(append(login("idA", "bob")), -1);
  EXPECT_EQ(append(login("../idB")), -1);
  EXPECT_EQ(append(login("")), -1);
  EXPECT_EQ(append(login("idB", "\xFF")), -1);
  EXPECT_EQ(append(login("idB", std::string("a\0b", 3))), -1);
  EXPECT_EQ(append(login("idB", std::string(700, 'x'))), -1);
  EXPECT_EQ(VLIBCErrGet(), ZEVO_ERR_BAD_TEXT);
  EXPECT_EQ(content(), aliceLine_);
}

TEST_F(SessionWriter, EndsALineThatWasCutOff) {
  write("cut off");
  append(login("idA"));
  EXPECT_EQ(content(), "cut off\n" + aliceLine_);
}

TEST_F(SessionWriter, GivesEachLoginANumberOfItsOwn) {
  write(R"("x":{"1":"c","2":"u","3":41})"
        "\n"
        R"("y":{"1":"c","2":"u","3":-5})"
        "\n");
  EXPECT_EQ(append(login("idA")), 42);
  write(R"("x":{"1":"c","2":"u","3":2147483647})"
        "\n"
        R"("y":{"1":"c","2":"u","3":1})"
        "\n");
  EXPECT_EQ(append(login("idB")), 2);
}

TEST_F(SessionWriter, WaitsNoLongerThanItMay) {
  ZEVO_CGI cgi;
  ZevoCgiInit(path().c_str(), &cgi);
  const int handle = ZevoCgiBeginCriticalSection(cgi.lock, 0);
  ASSERT_GE(handle, 0);
  EXPECT_EQ(appendLogin(path(), login("idA"), 30), -1);
  EXPECT_EQ(content(), "");
  ZevoCgiEndCriticalSection(handle);
  EXPECT_EQ(appendLogin(path(), login("idA"), 30), 1);
}

TEST_F(SessionWriter, TouchesTheAccessTime) {
  append(login("idA"));
  setAge("idA", std::chrono::hours(5));
  EXPECT_TRUE(touchAccessTime(path(), "idA"));
  EXPECT_GT(std::filesystem::last_write_time(accessFile("idA")),
            std::filesystem::file_time_type::clock::now() - std::chrono::minutes(1));
}

TEST_F(SessionWriter, TouchesNothingOutsideItsFolder) {
  EXPECT_FALSE(touchAccessTime(path(), "../sessions"));
  EXPECT_FALSE(touchAccessTime(path(), ""));
  const std::string victim = folder_.write("victim", "");
  std::filesystem::last_write_time(victim, std::filesystem::file_time_type());
  std::filesystem::create_symlink(victim, accessFile("link"));
  EXPECT_FALSE(touchAccessTime(path(), "link"));
  EXPECT_EQ(std::filesystem::last_write_time(victim), std::filesystem::file_time_type());
}

}  // namespace
}  // namespace zevo
