// Editors of one session file that are killed at random moments. LOSS_SECONDS sets how long.
#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <random>
#include <signal.h>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "zevo/cgi.h"
#include "zevo/keyed_file.h"
#include "zevo/session_file.h"

#include "cgi/session_lines.h"
#include "cgi/session_record.h"
#include "cgi/session_writer.h"
#include "platform/base/temporary_folder.h"

namespace zevo {
namespace {

using std::chrono::steady_clock;

constexpr int kEditors = 8;
// Well within the longer run: an editor that others keep from its turn gives up and is noticed.
constexpr int kLockWait = 10000;
constexpr std::size_t kFewestLogins = 20;
constexpr std::size_t kMostLogins = 1000000;

enum State : char { kUnknown, kAdding, kAdded, kDeleting, kDeleted };

// What the editors did, in memory that outlives them.
struct Ledger {
  std::atomic<std::size_t> used;
  std::array<std::atomic<char>, kMostLogins> states;
};

class SharedLedger {
 public:
  SharedLedger()
      : memory_(::mmap(nullptr, sizeof(Ledger), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS,
                       -1, 0)) {}
  ~SharedLedger() { ::munmap(memory_, sizeof(Ledger)); }
  SharedLedger(const SharedLedger&) = delete;
  SharedLedger& operator=(const SharedLedger&) = delete;
  Ledger& operator*() const { return *static_cast<Ledger*>(memory_); }
  Ledger* operator->() const { return static_cast<Ledger*>(memory_); }

 private:
  void* memory_;  // zero-filled by the kernel: a ledger in which nothing has happened
};

std::string idOf(std::size_t login) {
  return "login-" + std::to_string(login);
}

class SessionLoss : public testing::Test {
 protected:
  SessionLoss() { EXPECT_EQ(ZEVOCgiSessionFileCreate(path_.c_str()), 0); }

  // One login more; false if it cannot be recorded.
  bool add(std::size_t login) {
    ledger_->states[login] = kAdding;
    const Login record = {
        .id = idOf(login), .client = "10.20.0.2", .user = "alice", .browser = "x"};
    if (appendLogin(path_, record, kLockWait) <= 0) return false;
    ledger_->states[login] = kAdded;
    return true;
  }

  // One login less; false if it is no longer there.
  bool remove(std::size_t login) {
    ZEVO_CGI cgi;
    ZevoCgiInit(path_.c_str(), &cgi);
    ledger_->states[login] = kDeleting;
    const int handle = ZevoCgiBeginCriticalSection(cgi.lock, kLockWait);
    if (handle < 0) return false;
    const std::string key = '"' + idOf(login) + '"';
    const bool isDeleted = VLIBCFileSetLine(path_.c_str(), key.c_str(), nullptr, 0) == 1;
    ::unlink((path_ + ".access.time/" + idOf(login)).c_str());
    ZevoCgiEndCriticalSection(handle);
    ledger_->states[login] = kDeleted;
    return isDeleted;
  }

  [[noreturn]] void edit() {
    std::vector<std::size_t> own;
    std::minstd_rand random(static_cast<unsigned>(::getpid()));
    for (;;) {
      const std::size_t login = ledger_->used++;
      if (login >= kMostLogins || !add(login)) ::_exit(2);
      own.push_back(login);
      if (random() % 8 == 0) continue;
      const std::size_t chosen = random() % own.size();
      if (!remove(own[chosen])) ::_exit(3);
      own.erase(own.begin() + static_cast<std::ptrdiff_t>(chosen));
    }
  }

  pid_t startEditor() {
    const pid_t editor = ::fork();
    if (editor == 0) edit();
    return editor;
  }

  void killEditor(pid_t editor) {
    ::kill(editor, SIGKILL);
    int status = 0;
    ASSERT_EQ(::waitpid(editor, &status, 0), editor);
    ASSERT_TRUE(WIFSIGNALED(status))
        << "an editor lost a login or the lock: " << WEXITSTATUS(status);
  }

  void checkFile() {
    const std::string content = testing_support::contentOf(path_);
    std::map<std::string, int> lines;
    for (const std::string_view line : wholeLinesOf(content)) {
      const JsonObject record = parseSessionRecord(line);
      ASSERT_TRUE(record && line.ends_with('\n')) << "torn: " << line;
      ++lines[sessionIdOf(record.get())];
    }
    for (std::size_t login = 0; login < ledger_->used; ++login) {
      const int count = lines.contains(idOf(login)) ? lines[idOf(login)] : 0;
      const char state = ledger_->states[login];
      ASSERT_LE(count, 1) << idOf(login);
      ASSERT_FALSE(state == kAdded && count == 0) << idOf(login) << " is lost";
      ASSERT_FALSE(state == kDeleted && count != 0) << idOf(login) << " is back";
    }
  }

  testing_support::TemporaryFolder folder_;
  const std::string path_ = folder_.file("run/sessions");
  SharedLedger ledger_;
};

TEST_F(SessionLoss, NeverHappensToALoginWhoeverIsKilled) {
  const char* seconds = std::getenv("LOSS_SECONDS");
  const auto end = steady_clock::now() + std::chrono::seconds(seconds ? std::atol(seconds) : 3);
  std::array<pid_t, kEditors> editors{};
  for (pid_t& editor : editors) editor = startEditor();
  std::minstd_rand random(1);
  int kills = 0;
  // A busy machine takes longer until enough has happened.
  for (; steady_clock::now() < end || ledger_->used <= kFewestLogins; ++kills) {
    ::usleep(static_cast<useconds_t>(1000 + random() % 30000));
    pid_t& editor = editors[random() % kEditors];
    ASSERT_NO_FATAL_FAILURE(killEditor(editor));
    editor = startEditor();
  }
  for (const pid_t editor : editors) ASSERT_NO_FATAL_FAILURE(killEditor(editor));
  ASSERT_NO_FATAL_FAILURE(checkFile());
  RecordProperty("kills", kills);
  RecordProperty("logins", static_cast<int>(ledger_->used));
}

TEST_F(SessionLoss, LeavesNoTemporaryFilesBehindTheNextEdit) {
  for (int round = 0; round < 20; ++round) {
    const pid_t editor = startEditor();
    ::usleep(5000);
    ASSERT_NO_FATAL_FAILURE(killEditor(editor));
  }
  ASSERT_TRUE(add(ledger_->used++));
  for (const auto& entry : std::filesystem::directory_iterator(folder_.file("run"))) {
    EXPECT_EQ(entry.path().filename().string().find(".currentconn-new-"), std::string::npos)
        << entry.path();
  }
}

}  // namespace
}  // namespace zevo
