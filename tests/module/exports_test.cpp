// The built module as a host uses it: through dlopen and its exported table, on the real platform.
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <spawn.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "zevo/api_request.h"
#include "zevo/api_response.h"
#include "zevo/api_table.h"

namespace {

using ::testing::UnorderedElementsAre;

constexpr const char* kModule = CURRENTCONN_MODULE;

// The module, loaded once and never unloaded, as hosts keep it.
void* module() {
  static void* const handle = dlopen(kModule, RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) ADD_FAILURE() << dlerror();
  return handle;
}

ApiMethodRow* table() {
  const auto getTable = reinterpret_cast<GetAPITableFunction>(dlsym(module(), kGetAPITableName));
  return getTable != nullptr ? getTable() : nullptr;
}

// What `program` writes, with its arguments.
std::string outputOf(const char* program, std::vector<const char*> arguments) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return "";
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  arguments.insert(arguments.begin(), program);
  arguments.push_back(nullptr);
  char path[] = "PATH=/usr/bin:/bin";
  char locale[] = "LC_ALL=C";
  char* environment[] = {path, locale, nullptr};
  pid_t child = 0;
  const int failed = posix_spawnp(&child, program, &actions, nullptr,
                                  const_cast<char* const*>(arguments.data()), environment);
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  std::string output;
  char buffer[4096];
  for (ssize_t size = 0; (size = read(ends[0], buffer, sizeof buffer)) > 0;)
    output.append(buffer, static_cast<std::size_t>(size));
  close(ends[0]);
  int status = 0;
  if (failed == 0) waitpid(child, &status, 0);
  EXPECT_EQ(failed, 0) << program;
  EXPECT_EQ(status, 0) << program;
  return output;
}

// The names that the module exports.
std::vector<std::string> exportedNames() {
  std::vector<std::string> names;
  std::istringstream lines(outputOf("nm", {"-D", "--defined-only", "-P", kModule}));
  for (std::string line; std::getline(lines, line);)
    names.push_back(line.substr(0, line.find(' ')));
  return names;
}

TEST(Exports, AreTheTableItsFunctionTheTextsAndTheDemoHook) {
  EXPECT_THAT(exportedNames(),
              UnorderedElementsAre("GetAPITable", "gTable", "set_demo_mode", "strbundle"));
}

TEST(Exports, HoldTheSixMethodsAndARowOfZeros) {
  const ApiMethodRow* row = table();
  ASSERT_NE(row, nullptr);
  for (const char* method :
       {"list", "get", "list_by_user", "kick_connection", "disable_user", "download"}) {
    EXPECT_STREQ(row->api, "ZEVO.Core.CurrentConnection");
    EXPECT_EQ(row->version, 1);
    EXPECT_STREQ(row->method, method);
    EXPECT_NE(row->handler, nullptr);
    ++row;
  }
  EXPECT_EQ(row->api, nullptr);
  EXPECT_EQ(row->version, 0);
  EXPECT_EQ(row->method, nullptr);
  EXPECT_EQ(row->handler, nullptr);
}

TEST(Exports, ServeListAndGetWithOneHandler) {
  const ApiMethodRow* rows = table();
  ASSERT_NE(rows, nullptr);
  EXPECT_EQ(rows[0].handler, rows[1].handler);
  for (int i = 2; i < 6; ++i) EXPECT_NE(rows[i].handler, rows[0].handler) << i;
}

TEST(Exports, GiveTheTableUnderItsOwnNameToo) {
  EXPECT_EQ(dlsym(module(), "gTable"), table());
}

TEST(Exports, HaveADemoHookThatDoesNothing) {
  const auto hook = reinterpret_cast<void (*)()>(dlsym(module(), "set_demo_mode"));
  ASSERT_NE(hook, nullptr);
  hook();
}

class NotAdministrator : public ::testing::TestWithParam<int> {};

TEST_P(NotAdministrator, IsRefusedWithoutData) {
  ASSERT_NE(table(), nullptr);
  ZEVO::RequestContext context;
  context.loginUserName = "alice";
  ZEVO::APIRequest request(context);
  ZEVO::APIResponse response;
  table()[GetParam()].handler(&request, &response);
  EXPECT_TRUE(response.HasOutcome());
  EXPECT_TRUE(response.IsOutputEnabled());
  EXPECT_EQ(response.ErrorCode(), 105);
  EXPECT_EQ(response.DataText(), "null");
}

// All but "list_by_user".
INSTANTIATE_TEST_SUITE_P(Exports, NotAdministrator, ::testing::Values(0, 1, 3, 4, 5));

}  // namespace
