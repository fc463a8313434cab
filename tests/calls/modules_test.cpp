#include "calls/modules.h"

#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/base/temporary_folder.h"

namespace calls {
namespace {

using testing::HasSubstr;
using zevo::testing_support::TemporaryFolder;

// The error of loading the modules in `folder`; empty on success.
std::string errorOf(const std::string& folder) {
  Modules modules;
  std::string error;
  return modules.load(folder, &error) ? "" : error;
}

TEST(LoadedModules, OfferTheirMethods) {
  Modules modules;
  std::string error;
  ASSERT_TRUE(modules.load(MODULES_FOLDER "/misbehaving", &error)) << error;
  EXPECT_NE(modules.find("Test", 1, "echo"), nullptr);
  EXPECT_EQ(modules.find("Test", 2, "echo"), nullptr);
  EXPECT_EQ(modules.find("Test", 1, "ech"), nullptr);
  EXPECT_EQ(modules.find("test", 1, "echo"), nullptr);
}

TEST(LoadedModules, MustHaveATable) {
  EXPECT_THAT(errorOf(MODULES_FOLDER "/without_table"),
              HasSubstr("without_table.so: it does not export GetAPITable"));
}

TEST(LoadedModules, MustNotOfferAMethodTwice) {
  EXPECT_THAT(errorOf(MODULES_FOLDER "/twice"), HasSubstr("twice.so: another module already"));
}

TEST(LoadedModules, MustBeThere) {
  const TemporaryFolder folder;
  EXPECT_THAT(errorOf(folder.path()), HasSubstr("there is no *.so"));
  EXPECT_THAT(errorOf(folder.file("missing")), HasSubstr("No such file"));
}

TEST(LoadedModules, MustBeLibraries) {
  const TemporaryFolder folder;
  folder.write("broken.so", "not a library");
  EXPECT_THAT(errorOf(folder.path()),
              HasSubstr("cannot load the module " + folder.file("broken.so")));
}

// A module, alone in a directory.
class OneModule : public testing::Test {
 protected:
  OneModule() {
    std::filesystem::copy(MODULES_FOLDER "/misbehaving/misbehaving.so", path_);
    ::chmod(path_.c_str(), 0755);
    ::chmod(folder_.path().c_str(), 0755);
  }

  TemporaryFolder folder_;
  std::string path_ = folder_.file("m.so");
};

TEST_F(OneModule, IsLoaded) {
  EXPECT_EQ(errorOf(folder_.path()), "");
}

TEST_F(OneModule, MustNotBeWritableByOthers) {
  for (const mode_t mode : {0775U, 0757U}) {
    ::chmod(path_.c_str(), mode);
    EXPECT_EQ(errorOf(folder_.path()), "cannot load the module " + path_ + ": " + path_ +
                                           " can be written by others than its owner; run chmod "
                                           "go-w on it");
  }
}

TEST_F(OneModule, MustNotLieInAFolderThatOthersCanWrite) {
  for (const mode_t mode : {0775U, 01777U}) {
    ::chmod(folder_.path().c_str(), mode);
    EXPECT_THAT(errorOf(folder_.path()),
                HasSubstr(": " + folder_.path() + " can be written by others"));
  }
}

TEST_F(OneModule, MustBelongToRootAndSoMustItsFolder) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root to give a file away";
  ASSERT_EQ(::chown(path_.c_str(), 1234, 0), 0);
  EXPECT_THAT(errorOf(folder_.path()), HasSubstr(path_ + " belongs to the user 1234"));
  ASSERT_EQ(::chown(path_.c_str(), 0, 0), 0);
  ASSERT_EQ(::chown(folder_.path().c_str(), 1234, 0), 0);
  EXPECT_THAT(errorOf(folder_.path()), HasSubstr(folder_.path() + " belongs to the user 1234"));
}

TEST_F(OneModule, MustBeNoLink) {
  std::filesystem::rename(path_, folder_.file("hidden"));
  std::filesystem::create_symlink(folder_.file("hidden"), path_);
  EXPECT_THAT(errorOf(folder_.path()), HasSubstr(path_ + ": it is a symbolic link"));
}

}  // namespace
}  // namespace calls
