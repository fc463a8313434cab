#include "services/shared_list.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <stdlib.h>
#include <sys/stat.h>
#include <time.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/base/temporary_folder.h"
#include "platform/services/callers.h"
#include "platform/services/cause.h"
#include "platform/services/print.h"
#include "platform/services/proc_tree.h"
#include "platform/services/sample_list.h"
#include "services/boot_clock.h"
#include "services/list_text.h"

namespace zevo::connections {
namespace {

namespace fs = std::filesystem;
using std::chrono::hours;
using std::chrono::milliseconds;
using std::chrono::minutes;
using test::Door;
using test::resultOf;
using test::sampleList;

constexpr hours kAnyAge{24 * 365};

class SharedListTest : public ::testing::Test {
 protected:
  // How often was read so far, in any process.
  std::uintmax_t runs() const {
    std::error_code none;
    const auto size = fs::file_size(tree_.folder() + "/runs", none);
    return none ? 0 : size;
  }
  // A reading that takes its time for `meanwhile`.
  Result<void> read(const ListCall& call, TimedList* list,
                    const std::function<void()>& meanwhile = {},
                    const std::string& user = "alice") const {
    const auto reader = [&](ConnectionList* found) {
      std::ofstream(tree_.folder() + "/runs", std::ios::app) << 'x';
      if (meanwhile) meanwhile();
      *found = sampleList(user);
      return Result<void>();
    };
    return readShared(tree_.paths(), call, reader, list);
  }
  static ListCall callNow(milliseconds acceptedAge = {}, milliseconds waitLimit = minutes(5)) {
    return {timeSinceBoot(), acceptedAge, waitLimit};
  }
  // Whether a call of now that takes any age is served without a run.
  bool isShared() const {
    const auto before = runs();
    TimedList list;
    EXPECT_TRUE(read(callNow(kAnyAge), &list));
    EXPECT_EQ(list.list, sampleList());
    return runs() == before;
  }
  void store() const {
    TimedList list;
    EXPECT_TRUE(read(callNow(), &list));
  }
  std::string path(const std::string& name) const { return tree_.paths().sharedList + "/" + name; }

  test::ProcTree tree_;
};

TEST_F(SharedListTest, CallsThatBeganBeforeARunShareIt) {
  constexpr int kCallers = 24;
  Door door;
  std::vector<pid_t> callers;
  for (int i = 0; i < kCallers; ++i) {
    callers.push_back(test::start([&] {
      const ListCall call = callNow();
      door.come();
      TimedList list;
      if (hasFailed(read(call, &list)) || list.list != sampleList()) return 1;
      return list.began >= call.begin && list.ended >= list.began ? 0 : 2;
    }));
  }
  door.await(kCallers);
  door.open(kCallers);
  for (const pid_t caller : callers) EXPECT_EQ(resultOf(caller), 0);
  EXPECT_EQ(runs(), 1U);
}

TEST_F(SharedListTest, ARunThatBeganBeforeTheCallIsNotUsed) {
  store();
  TimedList list;
  EXPECT_TRUE(read(callNow(), &list, {}, "bob"));
  EXPECT_EQ(list.list, sampleList("bob"));
  EXPECT_EQ(runs(), 2U);
}

TEST_F(SharedListTest, NeitherIsOneThatStillGoesOn) {
  Door door;
  const pid_t reader = test::start([&] {
    TimedList list;
    return hasFailed(read(callNow(), &list, [&door] { door.come(); })) ? 1 : 0;
  });
  door.await(1);  // it reads
  Door second;
  const pid_t caller = test::start([&] {
    const ListCall call = callNow();
    second.come();
    TimedList list;
    if (hasFailed(read(call, &list, {}, "bob"))) return 1;
    return list.list == sampleList("bob") ? 0 : 2;
  });
  second.await(1);  // it has begun
  second.open(1);
  door.open(1);
  EXPECT_EQ(resultOf(reader), 0);
  EXPECT_EQ(resultOf(caller), 0);
  EXPECT_EQ(runs(), 2U);
}

TEST(RestAfterTest, ARunBeginsAsLongAfterAnotherAsThatOneTookAtMostAQuarterOfASecond) {
  const auto rest = [](int began, int ended, int now) {
    const TimedList last{milliseconds(began), milliseconds(ended), {}};
    return restAfter(last, milliseconds(now));
  };
  EXPECT_EQ(rest(1000, 1080, 1080), milliseconds(80));
  EXPECT_EQ(rest(1000, 1080, 1100), milliseconds(60));
  EXPECT_EQ(rest(1000, 1080, 1160), milliseconds(0));
  EXPECT_EQ(rest(1000, 1080, 9000), milliseconds(0));
  EXPECT_EQ(rest(1000, 9000, 9000), milliseconds(250));
  EXPECT_EQ(rest(1000, 1080, 500), milliseconds(80)) << "the time of the list is still to come";
}

TEST_F(SharedListTest, AnOlderOneServesWhoAcceptsItsAge) {
  store();
  EXPECT_TRUE(isShared());
  ::usleep(20000);
  TimedList list;
  EXPECT_TRUE(read(callNow(milliseconds(10)), &list));
  EXPECT_EQ(runs(), 2U);
}

TEST_F(SharedListTest, AFailureIsNobodyElses) {
  const auto failing = [](ConnectionList*) { return failure("no sockets today"); };
  TimedList list;
  EXPECT_EQ(causeOf(readShared(tree_.paths(), callNow(), failing, &list)), "no sockets today");
  EXPECT_FALSE(isShared());
}

TEST_F(SharedListTest, AKilledReaderDelaysNobody) {
  Door door;
  const pid_t reader = test::start([&] {
    TimedList list;
    return hasFailed(read(callNow(), &list, [&door] { door.come(); })) ? 1 : 0;
  });
  door.await(1);
  const pid_t caller = test::start([&] {
    TimedList list;
    return hasFailed(read(callNow(), &list)) || list.list != sampleList() ? 1 : 0;
  });
  ::usleep(50000);  // it waits by now, or comes later: both have to end
  ::kill(reader, SIGKILL);
  EXPECT_EQ(resultOf(reader), 256 + SIGKILL);
  EXPECT_EQ(resultOf(caller), 0);
  EXPECT_EQ(runs(), 2U);
}

TEST_F(SharedListTest, AStoppedReaderLosesItsTurnOnceItsTimeIsOver) {
  const pid_t reader = test::start([&] {
    TimedList list;
    return hasFailed(read(
               callNow(), &list, [] { ::raise(SIGSTOP); }, "late"))
               ? 1
               : 0;
  });
  int status = 0;
  ASSERT_EQ(::waitpid(reader, &status, WUNTRACED), reader);
  ASSERT_TRUE(WIFSTOPPED(status));
  TimedList list;
  EXPECT_TRUE(read(callNow({}, milliseconds(100)), &list));
  EXPECT_EQ(list.list, sampleList());
  EXPECT_EQ(runs(), 2U);
  EXPECT_TRUE(read(callNow({}, minutes(5)), &list)) << "others share again";
  EXPECT_TRUE(isShared());
  // What it stores when it continues is older than every call since.
  ::kill(reader, SIGCONT);
  EXPECT_EQ(resultOf(reader), 0);
  EXPECT_TRUE(read(callNow(), &list));
  EXPECT_EQ(list.list, sampleList());
}

TEST_F(SharedListTest, OneInAnotherTimeZoneIsNotUsed) {
  store();
  ::setenv("TZ", "CET-1", 1);
  EXPECT_FALSE(isShared());
  ::setenv("TZ", "UTC", 1);
}

TEST_F(SharedListTest, NeitherIsOneOfOtherSources) {
  store();
  Paths paths = tree_.paths();
  paths.smbstatus = "/opt/samba/bin/smbstatus";
  EXPECT_NE(sharingKey(paths), sharingKey(tree_.paths()));
}

TEST_F(SharedListTest, FolderAndFilesAreTheirOwnersAlone) {
  const mode_t before = ::umask(0);
  tree_.file("x", "");
  store();
  ::umask(before);
  struct stat status {};
  ASSERT_EQ(::stat(tree_.paths().sharedList.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0700U);
  for (const char* name : {"list", "lock"}) {
    ASSERT_EQ(::stat(path(name).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U) << name;
  }
  EXPECT_EQ(std::distance(fs::directory_iterator(tree_.paths().sharedList), {}), 2);
}

// What is done to a stored list; it must not be believed afterwards, and the next one is stored.
class UnusableListTest : public SharedListTest {
 protected:
  void SetUp() override {
    store();
    ASSERT_TRUE(isShared());
    text_ = testing_support::contentOf(path("list"));
  }
  void expectReplaced() {
    EXPECT_FALSE(isShared());
    EXPECT_TRUE(isShared());
  }
  void write(const std::string& name, const std::string& text) {
    std::ofstream(path(name), std::ios::binary | std::ios::trunc) << text;
  }
  std::string text_;
};

TEST_F(UnusableListTest, TornOrBroken) {
  for (const std::size_t size :
       {std::size_t{0}, std::size_t{7}, text_.size() / 2, text_.size() - 1}) {
    write("list", text_.substr(0, size));
    expectReplaced();
  }
  write("list", text_ + "x");
  expectReplaced();
  write("list", std::string(100000, '\xFF'));
  expectReplaced();
}

TEST_F(UnusableListTest, OfATimeToCome) {
  TimedList list{timeSinceBoot() + hours(1), timeSinceBoot() + hours(1), sampleList()};
  write("list", listText(sharingKey(tree_.paths()), list));
  expectReplaced();
}

TEST_F(UnusableListTest, ReadableByOthers) {
  ASSERT_EQ(::chmod(path("list").c_str(), 0644), 0);
  expectReplaced();
}

TEST_F(UnusableListTest, ALink) {
  fs::rename(path("list"), tree_.folder() + "/elsewhere");
  fs::create_symlink(tree_.folder() + "/elsewhere", path("list"));
  expectReplaced();
}

TEST_F(UnusableListTest, AFolderAndAPipe) {
  fs::remove(path("list"));
  ASSERT_EQ(::mkfifo(path("list").c_str(), 0600), 0);
  expectReplaced();
  fs::remove(path("list"));
  fs::create_directory(path("list"));
  EXPECT_FALSE(isShared());
  EXPECT_FALSE(isShared()) << "nothing is removed that is no file";
}

TEST_F(UnusableListTest, OfAnotherUser) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give a file to another user";
  ASSERT_EQ(::chown(path("list").c_str(), 1001, 1001), 0);
  expectReplaced();
}

TEST_F(UnusableListTest, ALockThatIsALinkOrOpenToOthersOrAnotherUsers) {
  fs::remove(path("lock"));
  fs::create_symlink(tree_.folder() + "/elsewhere", path("lock"));
  store();
  EXPECT_FALSE(fs::exists(tree_.folder() + "/elsewhere"));
  EXPECT_FALSE(fs::is_symlink(path("lock")));
  store();
  ASSERT_EQ(::chmod(path("lock").c_str(), 0666), 0);
  store();
  store();
  EXPECT_TRUE(isShared());
  if (::geteuid() != 0) return;
  ASSERT_EQ(::chown(path("lock").c_str(), 1001, 1001), 0);
  store();
  store();
  EXPECT_TRUE(isShared());
}

// A directory that is not ours alone: each call reads for itself, and nothing is written there.
class ForeignFolderTest : public SharedListTest {
 protected:
  const std::string& folder() const { return tree_.paths().sharedList; }
  void expectUnused() {
    EXPECT_FALSE(isShared());
    EXPECT_FALSE(isShared());
  }
};

TEST_F(ForeignFolderTest, OpenToOthers) {
  fs::create_directory(folder());
  fs::permissions(folder(), fs::perms::owner_all | fs::perms::group_read);
  expectUnused();
  EXPECT_TRUE(fs::is_empty(folder()));
}

TEST_F(ForeignFolderTest, ALink) {
  fs::create_directory(tree_.folder() + "/elsewhere");
  fs::permissions(tree_.folder() + "/elsewhere", fs::perms::owner_all);
  fs::create_directory_symlink(tree_.folder() + "/elsewhere", folder());
  expectUnused();
  EXPECT_TRUE(fs::is_empty(tree_.folder() + "/elsewhere"));
}

TEST_F(ForeignFolderTest, AFile) {
  tree_.file("list", "");
  expectUnused();
}

TEST_F(ForeignFolderTest, BelowAFolderThatOthersCanChange) {
  fs::permissions(tree_.folder(), fs::perms::all);
  expectUnused();
  EXPECT_FALSE(fs::exists(folder()));
}

TEST_F(ForeignFolderTest, OfAnotherUserOrBelowOneOfAnotherUser) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give a folder to another user";
  fs::create_directory(folder());
  fs::permissions(folder(), fs::perms::owner_all);
  ASSERT_EQ(::chown(folder().c_str(), 1001, 1001), 0);
  expectUnused();
  EXPECT_TRUE(fs::is_empty(folder()));
  ASSERT_EQ(::chown(folder().c_str(), 0, 0), 0);
  ASSERT_EQ(::chown(tree_.folder().c_str(), 1001, 1001), 0);
  expectUnused();
  EXPECT_TRUE(fs::is_empty(folder()));
  ASSERT_EQ(::chown(tree_.folder().c_str(), 0, 0), 0);
  EXPECT_FALSE(isShared());
  EXPECT_TRUE(isShared());
}

TEST_F(ForeignFolderTest, MadeWithAllThatIsAboveIt) {
  Paths paths = tree_.paths();
  paths.sharedList = tree_.folder() + "/run/currentconn/list";
  TimedList list;
  const auto reader = [](ConnectionList* found) {
    *found = sampleList();
    return Result<void>();
  };
  EXPECT_TRUE(readShared(paths, callNow(), reader, &list));
  EXPECT_TRUE(fs::exists(paths.sharedList + "/list"));
}

}  // namespace
}  // namespace zevo::connections
