#include "daemon/start_checks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/config.h"
#include "platform/base/temporary_folder.h"

namespace currentconnd {
namespace {

using testing::StartsWith;
using zevo::testing_support::contentOf;
using zevo::testing_support::TemporaryFolder;
using Names = std::vector<std::string>;

class StartChecks : public testing::Test {
 protected:
  ~StartChecks() override {
    std::string error;
    zevo::loadConfig("/nonexistent", false, &error);
  }
  // Sets one key, in the second line.
  void set(const std::string& key, const std::string& path) {
    std::string error;
    const std::string file = folder_.write("c.toml", "#\n" + key + " = '" + path + "'\n");
    ASSERT_TRUE(zevo::loadConfig(file, true, &error)) << error;
  }
  std::string errorOfSessionFile() {
    std::string error;
    return prepareSessionFile(&key_, &error) ? "" : error;
  }
  static std::string errorOf(bool (*check)(std::string*)) {
    std::string error;
    return check(&error) ? "" : error;
  }
  [[nodiscard]] std::string place() const { return folder_.file("c.toml") + ":2: "; }

  TemporaryFolder folder_;
  std::string key_;
};

TEST_F(StartChecks, MakeTheSessionFileOnce) {
  set("session_file", folder_.file("sessions"));
  EXPECT_EQ(errorOfSessionFile(), "");
  EXPECT_EQ(contentOf(folder_.file("sessions")), "");
  const std::string key = key_;
  EXPECT_EQ(key, contentOf(folder_.file("sessions.key")));
  EXPECT_EQ(errorOfSessionFile(), "");
  EXPECT_EQ(key_, key);
}

TEST_F(StartChecks, TellWhyThereIsNoSessionFile) {
  set("session_file", "/nonexistent/deeper/sessions");
  EXPECT_EQ(errorOfSessionFile(),
            place() + "cannot create /nonexistent/deeper: No such file or directory");
}

TEST_F(StartChecks, LeaveAForeignFileThatIsToBeTheSessionFileAsItIs) {
  const std::string path = folder_.write("passwd", "root:x:0:0\n");
  set("session_file", path);
  EXPECT_EQ(errorOfSessionFile(),
            place() + "cannot use " + path +
                ": its line 1 is not a login record, so the file may belong to another program; "
                "give a file that is used for sessions only");
  EXPECT_EQ(contentOf(path), "root:x:0:0\n");
  EXPECT_EQ(folder_.names(), (Names{"c.toml", "passwd"}));
}

TEST_F(StartChecks, NeedThePamServiceInTheFolderThatIsConfigured) {
  set("pam_folder", folder_.path());
  const std::string remedy =
      "; install the PAM service there, or set pam_folder to \"\" for the system's directories";
  EXPECT_EQ(errorOf(&checkPamFolder), place() + "cannot open " + folder_.file("currentconn") +
                                          ": No such file or directory" + remedy);
  std::filesystem::create_directory(folder_.file("currentconn"));
  EXPECT_THAT(errorOf(&checkPamFolder), StartsWith(place() + "cannot "));
  std::filesystem::remove(folder_.file("currentconn"));
  folder_.write("currentconn", "auth required pam_deny.so\n");
  EXPECT_EQ(errorOf(&checkPamFolder), "");
}

TEST_F(StartChecks, NeedNoPamServiceWhereNoFolderIsConfigured) {
  set("pam_folder", "");
  EXPECT_EQ(errorOf(&checkPamFolder), "");
}

TEST_F(StartChecks, FindThePamServiceInAnyOfTheSystemsFolders) {
  const Names folders = {"/nonexistent", folder_.path()};
  EXPECT_FALSE(hasPamService(folders));
  folder_.write("currentconn", "");
  EXPECT_TRUE(hasPamService(folders));
}

}  // namespace
}  // namespace currentconnd
