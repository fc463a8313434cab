#include "module_backend.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <syslog.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "account_expiry.h"
#include "side_by_side.h"

namespace {

// Lines of the authorisation log, from whatever process they come.
std::string authorisationLog() {
  const char* folder = std::getenv("CURRENTCONN_FAKE");
  return std::string(folder ? folder : "/nonexistent") + "/authorisation";
}

void writeLog(int priority, const char* format, va_list arguments) {
  if ((priority & LOG_FACMASK) != LOG_AUTHPRIV) return;
  std::FILE* file = std::fopen(authorisationLog().c_str(), "ae");
  if (!file) return;
  std::vfprintf(file, format, arguments);
  std::fputc('\n', file);
  std::fclose(file);
}

}  // namespace

// In place of the C library's, under both of its names.
extern "C" void syslog(int priority, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  writeLog(priority, format, arguments);
  va_end(arguments);
}

extern "C" void __syslog_chk(int priority, int /*flag*/, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  writeLog(priority, format, arguments);
  va_end(arguments);
}

namespace cli {
namespace {

namespace fs = std::filesystem;

class ModuleBackendTest : public ::testing::Test {
 protected:
  ModuleBackendTest() {
    std::string pattern = (fs::temp_directory_path() / "currentconn-XXXXXX").string();
    folder_ = mkdtemp(pattern.data());
    setenv("CURRENTCONN_FAKE", folder_.c_str(), 1);
    unsetenv("SUDO_USER");
  }
  ~ModuleBackendTest() override { fs::remove_all(folder_); }

  void answer(const std::string& answers) const {
    std::ofstream(folder_ / "answers.json") << answers;
  }

  [[nodiscard]] std::vector<std::string> log() const {
    std::ifstream file(authorisationLog());
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
      // Where the test sits is no matter of the test.
      const std::size_t from = line.find(" from ");
      lines.push_back(line.substr(line.find(": ", from) + 2));
    }
    return lines;
  }

  // Makes one call that ends `user`, as the commands do.
  std::optional<Answer> kick(const std::string& user) {
    Json::Value parameters(Json::objectValue);
    parameters["users"].append(user);
    return callSideBySide(backend, {{"disable_user", parameters}}, [](std::size_t) {}).front();
  }

  fs::path folder_;
  ModuleBackend backend{
      CURRENTCONN_FAKE_MODULE, (folder_ / "run" / "sessions").string(), {"admin", true}};
};

TEST_F(ModuleBackendTest, EveryEnforcingCallLeavesOneLineWhateverItCameTo) {
  answer(R"({"disable_user":[{"data":null},{"error":7100},{"signal":9},{"throw":true},
                             {"silent":true}]})");
  for (const char* user : {"a", "b", "c", "d", "e"}) kick(user);
  EXPECT_EQ(log(), (std::vector<std::string>{
                       "disable_user \"a\": done", "disable_user \"b\": error 7100",
                       "disable_user \"c\": no answer", "disable_user \"d\": no answer",
                       "disable_user \"e\": no answer"}));
}

TEST_F(ModuleBackendTest, ADisablingNamesTheExpiryThatTheAccountHad) {
  const std::optional<long> expiry = expiryOf("root");
  if (!expiry) GTEST_SKIP() << "the shadow file is read by root only";
  answer(R"({"disable_user":[{"data":null}]})");
  kick("root");
  EXPECT_EQ(log(), std::vector<std::string>{"disable_user \"root\" (expiry before: " +
                                            std::to_string(*expiry) + "): done"});
}

TEST_F(ModuleBackendTest, AnEnforcingCallWithoutAModuleLeavesALineToo) {
  ModuleBackend missing("/nonexistent/module.so", (folder_ / "sessions").string(), {"admin", true});
  callSideBySide(missing, {{"disable_user", Json::Value(Json::objectValue)}}, [](std::size_t) {});
  EXPECT_EQ(log(), std::vector<std::string>{"disable_user nobody: no answer"});
}

TEST_F(ModuleBackendTest, AModuleOfAnOrdinaryUserIsNotLoaded) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root to give a file away";
  const std::filesystem::path own = folder_ / "module.so";
  std::filesystem::copy(CURRENTCONN_FAKE_MODULE, own);
  std::filesystem::permissions(own, std::filesystem::perms(0755));
  ASSERT_EQ(chown(own.c_str(), 1234, 1234), 0);
  ModuleBackend foreign(own.string(), (folder_ / "sessions").string(), {"admin", true});
  EXPECT_EQ(foreign.call("list", Json::Value(Json::objectValue)),
            failedAnswer("the module cannot be loaded, reinstall currentconn: " + own.string() +
                         " belongs to the user 1234 instead of root; run chown root on it, or "
                         "install it anew"));
}

TEST_F(ModuleBackendTest, ReadingLeavesNone) {
  answer(R"({"list":[{"data":null}]})");
  EXPECT_EQ(backend.call("list", Json::Value(Json::objectValue)).status, Answer::Status::kDone);
  EXPECT_EQ(log(), std::vector<std::string>{});
}

TEST_F(ModuleBackendTest, AMethodThatTheModuleLacksIsNamed) {
  EXPECT_EQ(backend.call("bogus", Json::Value(Json::objectValue)),
            failedAnswer(std::string(CURRENTCONN_FAKE_MODULE) +
                         " has no method \"bogus\": reinstall currentconn"));
}

}  // namespace
}  // namespace cli
