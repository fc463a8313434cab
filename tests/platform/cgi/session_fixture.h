// A session file of its own for one test.
#pragma once

#include <chrono>
#include <ctime>
#include <filesystem>
#include <string>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "zevo/session_file.h"

#include "cgi/session_writer.h"
#include "platform/base/temporary_folder.h"

namespace zevo::testing_support {

class SessionFixture : public testing::Test {
 protected:
  SessionFixture() { EXPECT_EQ(ZEVOCgiSessionFileCreate(path().c_str()), 0); }

  [[nodiscard]] std::string path() const { return folder_.file("run/sessions"); }
  [[nodiscard]] std::string accessFile(const std::string& id) const {
    return path() + ".access.time/" + id;
  }
  [[nodiscard]] std::string content() const { return contentOf(path()); }
  void write(const std::string& content) const { folder_.write("run/sessions", content); }

  // Makes the login look as if it was last used `age` ago.
  void setAge(const std::string& id, std::chrono::seconds age) const {
    std::filesystem::last_write_time(accessFile(id),
                                     std::filesystem::file_time_type::clock::now() - age);
  }

  static Login login(const std::string& id, const std::string& user = "alice",
                     std::time_t start = 1795210000) {
    return {.id = id, .client = "10.20.0.2", .user = user, .browser = "Firefox", .start = start};
  }

  TemporaryFolder folder_;
};

}  // namespace zevo::testing_support
