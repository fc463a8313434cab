#include "modules.h"

#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/base/temporary_folder.h"

namespace host {
namespace {

using testing::HasSubstr;
using zevo::testing_support::TemporaryFolder;

// What loading the modules of `folder` complains of; empty where it does not.
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
  EXPECT_THAT(errorOf(folder.path()), HasSubstr("no *.so is there; set module_folder"));
  EXPECT_THAT(errorOf(folder.file("missing")), HasSubstr("No such file"));
}

TEST(LoadedModules, MustBeLibraries) {
  const TemporaryFolder folder;
  folder.write("broken.so", "not a library");
  EXPECT_THAT(errorOf(folder.path()),
              HasSubstr("cannot load the module " + folder.file("broken.so")));
}

TEST(LoadedModules, MustNotBeEverybodysToWrite) {
  const TemporaryFolder folder;
  std::filesystem::copy(MODULES_FOLDER "/misbehaving/misbehaving.so", folder.file("m.so"));
  std::filesystem::permissions(folder.file("m.so"), std::filesystem::perms::all);
  EXPECT_THAT(errorOf(folder.path()), HasSubstr("everybody may write it"));
}

}  // namespace
}  // namespace host
