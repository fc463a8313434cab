// Account writes that are killed at random moments. LOSS_KILLS sets how often.
#include <cstdlib>
#include <random>
#include <regex>
#include <signal.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "zevo/error.h"

#include "platform/sdk/account_fixture.h"

namespace zevo {
namespace {

class AccountLoss : public testing_support::AccountFixture {
 protected:
  // Writes one day of expiry after the other.
  [[noreturn]] void writeForEver() const {
    for (long day = 30000;; ++day) {
      const std::string field = std::to_string(day);
      if (write({{"cid", field}, {"ann", field}}) != ZEVO_ERR_NONE) ::_exit(2);
    }
  }

  // Whether the file is one that a whole write left: both days the same, all else as ever.
  [[nodiscard]] bool isWhole() const {
    static const std::regex kWhole(
        "root:\\$y\\$root:19000:0:99999:7:::\nann:\\$y\\$ann:19000:0:99999:7::([0-9]*):\n"
        "ben:\\$y\\$ben:19000:0:99999:7::30000:\ncid:\\$y\\$cid:19000:0:99999:7::\\1:\n"
        "web:\\*:19000:0:99999:7:::\n");
    return std::regex_match(shadow(), kWhole);
  }

  [[nodiscard]] struct stat status() const {
    struct stat status {};
    EXPECT_EQ(::stat(database_.paths.shadow.c_str(), &status), 0);
    return status;
  }
};

TEST_F(AccountLoss, LeavesTheOldFileOrTheNewOneWheneverTheWriterIsKilled) {
  ASSERT_EQ(::chmod(database_.paths.shadow.c_str(), 0640), 0);
  if (::geteuid() == 0) {
    ASSERT_EQ(::chown(database_.paths.shadow.c_str(), 0, 42), 0);
  }
  const struct stat before = status();
  const char* kills = std::getenv("LOSS_KILLS");
  std::minstd_rand random(7);
  int inTheMiddle = 0;
  for (long round = kills ? std::atol(kills) : 40; round > 0; --round) {
    const pid_t writer = ::fork();
    if (writer == 0) writeForEver();
    ::usleep(static_cast<useconds_t>(500 + random() % 8000));
    ::kill(writer, SIGKILL);
    int ended = 0;
    ASSERT_EQ(::waitpid(writer, &ended, 0), writer);
    ASSERT_TRUE(WIFSIGNALED(ended)) << "a write failed";
    ASSERT_TRUE(isWhole()) << shadow();
    const struct stat after = status();
    ASSERT_EQ(after.st_mode, before.st_mode);
    ASSERT_EQ(after.st_uid, before.st_uid);
    ASSERT_EQ(after.st_gid, before.st_gid);
    if (folder_.names().size() > 3) ++inTheMiddle;
  }
  RecordProperty("killed_in_the_middle_of_a_write", inTheMiddle);
  ASSERT_EQ(disable({"cid", "ann"}), ZEVO_ERR_NONE);
  EXPECT_EQ(folder_.names().size(), 3U) << "temporary files stayed";
}

}  // namespace
}  // namespace zevo
