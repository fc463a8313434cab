#include "zevo/session_file.h"

#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "zevo/error.h"
#include "zevo/error_trail.h"

#include "platform/base/temporary_folder.h"

namespace zevo {
namespace {

using testing_support::contentOf;
using testing_support::TemporaryFolder;

class SessionFileCreation : public testing::Test {
 protected:
  [[nodiscard]] std::string path() const { return folder_.file("run/sessions"); }
  [[nodiscard]] std::string accessFolder() const { return path() + ".access.time"; }
  [[nodiscard]] int create() const { return ZEVOCgiSessionFileCreate(path().c_str()); }

  void expectRefusal() const {
    VLIBCErrSetEx(ZEVO_ERR_NONE, "", 0);
    EXPECT_EQ(create(), -1);
    EXPECT_EQ(VLIBCErrGet(), ZEVO_ERR_FILE_OPEN);
  }

  static unsigned modeOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777U;
  }

  TemporaryFolder folder_;
};

TEST_F(SessionFileCreation, MakesTheFileItsFolderAndTheFolderOfAccessTimes) {
  const mode_t mask = ::umask(0077);
  EXPECT_EQ(create(), 0);
  ::umask(mask);
  EXPECT_EQ(modeOf(folder_.file("run")), 0755U);
  EXPECT_EQ(modeOf(accessFolder()), 0700U);
  EXPECT_EQ(modeOf(path()), 0600U);
  EXPECT_EQ(contentOf(path()), "");
}

TEST_F(SessionFileCreation, KeepsWhatIsThere) {
  ASSERT_EQ(create(), 0);
  folder_.write("run/sessions", "logins");
  EXPECT_EQ(create(), 0);
  EXPECT_EQ(contentOf(path()), "logins");
}

TEST_F(SessionFileCreation, MakesOnlyWhatIsMissing) {
  ASSERT_EQ(create(), 0);
  std::filesystem::remove(path());
  EXPECT_EQ(create(), 0);
  std::filesystem::remove(accessFolder());
  EXPECT_EQ(create(), 0);
  EXPECT_TRUE(std::filesystem::exists(accessFolder()));
}

TEST_F(SessionFileCreation, FollowsNoLinks) {
  std::filesystem::create_directory(folder_.file("elsewhere"));
  std::filesystem::create_symlink(folder_.file("elsewhere"), folder_.file("run"));
  expectRefusal();
  std::filesystem::remove(folder_.file("run"));
  std::filesystem::create_directory(folder_.file("run"));
  std::filesystem::create_symlink(folder_.file("elsewhere"), accessFolder());
  expectRefusal();
  std::filesystem::remove(accessFolder());
  std::filesystem::remove(path());
  std::filesystem::create_symlink(folder_.file("elsewhere/target"), path());
  expectRefusal();
  EXPECT_TRUE(std::filesystem::is_empty(folder_.file("elsewhere")));
}

TEST_F(SessionFileCreation, RefusesThingsThatAreNoFiles) {
  std::filesystem::create_directories(path());
  expectRefusal();
  std::filesystem::remove(path());
  ASSERT_EQ(::mkfifo(path().c_str(), 0600), 0);
  expectRefusal();
  std::filesystem::remove(path());
  folder_.write("run/sessions", "");
  std::filesystem::remove(accessFolder());
  folder_.write("run/sessions.access.time", "");
  expectRefusal();
}

TEST_F(SessionFileCreation, RefusesWhatOthersCouldHavePutThere) {
  ASSERT_EQ(create(), 0);
  ASSERT_EQ(::chmod(folder_.file("run").c_str(), 0777), 0);
  expectRefusal();
  ASSERT_EQ(::chmod(folder_.file("run").c_str(), 01777), 0);
  EXPECT_EQ(create(), 0);
  ASSERT_EQ(::chmod(path().c_str(), 0660), 0);
  expectRefusal();
  if (::geteuid() != 0) GTEST_SKIP() << "needs root to give a file away";
  ASSERT_EQ(::chmod(path().c_str(), 0600), 0);
  ASSERT_EQ(::chown(path().c_str(), 12, 12), 0);
  expectRefusal();
}

TEST_F(SessionFileCreation, MakesNothingBesideAThingThatIsNoFile) {
  std::filesystem::create_directories(path());
  expectRefusal();
  EXPECT_FALSE(std::filesystem::exists(accessFolder()));
}

TEST(SessionFileCheck, TakesFilesOfRecordsAlone) {
  const TemporaryFolder folder;
  const std::string record = R"("id-1":{"1":"10.20.0.2","2":"alice","3":1,"4":1795210000})";
  for (const std::string& content :
       {std::string(), record, record + "\n", record + "\r\n" + record}) {
    EXPECT_TRUE(checkSessionFile(folder.write("s", content))) << content;
  }
  for (const std::string& content :
       {std::string("root:x:0:0:root:/root:/bin/bash\n"), "\n" + record, record + "\n\n",
        record + "\n[main]\n", std::string("\0", 1)}) {
    VLIBCErrSetEx(ZEVO_ERR_NONE, "", 0);
    EXPECT_FALSE(checkSessionFile(folder.write("s", content))) << content;
    EXPECT_EQ(VLIBCErrGet(), ZEVO_ERR_FILE_OPEN);
    EXPECT_EQ(contentOf(folder.file("s")), content);
  }
}

TEST(SessionFileCheck, NamesTheFirstLineThatIsNoRecord) {
  const TemporaryFolder folder;
  clearErrorTrail();
  EXPECT_FALSE(checkSessionFile(folder.write("s", "\"a\":{}\n\"b\":{}\nc\nd\n")));
  EXPECT_EQ(errorTrail(), std::vector<std::string>{
                              "cannot use " + folder.file("s") +
                              ": its line 3 is not a login record, so the file may belong to "
                              "another program; give a file that is used for sessions only"});
}

TEST(SessionFileCheck, LeavesWhatIsNoFileToTheCreation) {
  const TemporaryFolder folder;
  EXPECT_TRUE(checkSessionFile(folder.path()));
  EXPECT_TRUE(checkSessionFile(folder.file("missing")));
}

TEST_F(SessionFileCreation, NeedsAPathInAFolderThatCanBeMade) {
  EXPECT_EQ(ZEVOCgiSessionFileCreate(nullptr), -1);
  EXPECT_EQ(ZEVOCgiSessionFileCreate(""), -1);
  EXPECT_EQ(ZEVOCgiSessionFileCreate("sessions"), -1);
  EXPECT_EQ(ZEVOCgiSessionFileCreate("/nonexistent/deeper/sessions"), -1);
  EXPECT_EQ(ZEVOCgiSessionFileCreate((folder_.path() + "/").c_str()), -1);
}

}  // namespace
}  // namespace zevo
