#include "services/user_titles.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <optional>
#include <poll.h>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

#include "zevo/read_notes.h"

#include "base/file_descriptor.h"
#include "base/file_failure.h"
#include "base/text.h"
#include "host/service_table.h"
#include "services/process_owner.h"
#include "services/sources.h"

namespace zevo::connections {
namespace {

using Processes = std::span<const Process* const>;

constexpr std::chrono::milliseconds kPatience{2000};  // with all processes of one user
constexpr std::size_t kMostSlow = 4;  // together below the time that a tool may take
constexpr std::chrono::milliseconds kTimeToDie{500};

using Titles = std::vector<Result<Title>>;

// What the reader writes before each title.
struct Header {
  int error = 0;            // of a reading that failed; its sentence is in the place of the title
  std::uint32_t first = 0;  // sizes
  std::uint32_t all = 0;
};

// A user can unmap the memory: then there is no title, and that is no failure.
Result<Title> readable(Result<Title> title) {
  if (!title && title.error().code == EIO) return Title();
  return title;
}

// By "cmdline", for which the kernel does not ask the server of a file that the user may have put
// there: waiting for that server, even a killed process goes on.
Result<Title> usersTitle(const Sources& sources, const Process& process) {
  const auto title = sources.filesOf(process).and_then(&ProcessFiles::title);
  const auto now = readProcess(sources.paths(), process.pid);
  if (!title || !now) return errorOf(title, now);
  return shareImage(process, *now) ? *title : Title();
}

[[noreturn]] void serveTitles(const Sources& sources, Processes processes, pid_t parent,
                              int output) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (::getppid() != parent) ::_exit(1);
  for (const Process* process : processes) {
    const Result<Title> reading = readable(usersTitle(sources, *process));
    const Title title = reading ? *reading : Title{reading.error().sentence, ""};
    const int error = reading ? 0 : reading.error().code;
    const Header header{reading || error != 0 ? error : EBADMSG,
                        static_cast<std::uint32_t>(title.first.size()),
                        static_cast<std::uint32_t>(title.all.size())};
    std::string bytes(sizeof header, '\0');
    std::memcpy(bytes.data(), &header, sizeof header);
    if (!writeAll(bytes + title.first + title.all, output)) break;
  }
  ::_exit(0);  // no destructors of the parent's objects
}

// Moves the titles that are complete from `bytes` to `titles`.
void takeTitles(std::string* bytes, Titles* titles) {
  Header header;
  std::size_t at = 0;
  while (bytes->size() - at >= sizeof header) {
    std::memcpy(&header, bytes->data() + at, sizeof header);
    const std::size_t end = at + sizeof header + header.first + header.all;
    if (bytes->size() < end) break;
    Title title{bytes->substr(at + sizeof header, header.first),
                bytes->substr(end - header.all, header.all)};
    titles->push_back(header.error != 0 ? failure(title.first, header.error)
                                        : Result<Title>(std::move(title)));
    at = end;
  }
  bytes->erase(0, at);
}

// False if nothing comes for too long, or ever again.
bool receive(int input, std::chrono::milliseconds patience, std::string* bytes) {
  pollfd wait{input, POLLIN, 0};
  const auto end = std::chrono::steady_clock::now() + patience;
  for (;;) {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
    const int ready = ::poll(&wait, 1, static_cast<int>(std::max<long>(left.count(), 0)));
    if (ready == 0) return false;
    if (ready < 0 && errno != EINTR) return false;
    if (ready > 0) break;
  }
  std::array<char, 16384> part{};
  const ssize_t size = ::read(input, part.data(), part.size());
  if (size > 0) bytes->append(part.data(), static_cast<std::size_t>(size));
  return size > 0;
}

// Not for ever: some waits in the kernel do not end at a signal.
void end(pid_t reader) {
  ::kill(reader, SIGKILL);
  const auto end = std::chrono::steady_clock::now() + kTimeToDie;
  while (::waitpid(reader, nullptr, WNOHANG) == 0 && std::chrono::steady_clock::now() < end)
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

// The titles of `processes` in their order, up to one whose reader is kept waiting for longer than
// what is left of its user's time in `spent`, which grows.
Result<Titles> readTitles(const Sources& sources, Processes processes,
                          std::span<std::chrono::milliseconds* const> spent) {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0)
    return failure("cannot read titles: " + errorText(errno));
  const FileDescriptor input(ends[0]);
  FileDescriptor output(ends[1]);
  const pid_t parent = ::getpid();
  const pid_t reader = ::fork();
  if (reader < 0) return failure("cannot read titles: " + errorText(errno));
  if (reader == 0) serveTitles(sources, processes, parent, output.get());
  output.reset();
  Titles titles;
  std::string bytes;
  for (bool isAnswering = true; isAnswering && titles.size() < processes.size();) {
    std::chrono::milliseconds& used = *spent[titles.size()];
    const auto began = std::chrono::steady_clock::now();
    isAnswering = receive(input.get(), kPatience - used, &bytes);
    used += std::chrono::ceil<std::chrono::milliseconds>(std::chrono::steady_clock::now() - began);
    takeTitles(&bytes, &titles);
    if (used >= kPatience) break;
  }
  end(reader);
  return titles;
}

}  // namespace

bool UserTitles::isAskedFor(uid_t owner) const {
  return slow_.size() < kMostSlow && !slow_.contains(owner);
}

void UserTitles::giveUp(const Sources& sources, const Process& process, uid_t owner) {
  slow_.insert(owner);
  if (slow_.size() == kMostSlow) {
    sources.note(kConnectionsMissing, serviceName(ZEVO_CURCONN_SFTP),
                 "processes of several users keep readers of their titles waiting, so no more "
                 "titles of such processes are read");
  }
  sources.note(kDetailsMissing, serviceOfProcess(process.name),
               "process " + std::to_string(process.pid) + " (" + printable(process.name) +
                   ") keeps readers of its title waiting; end it: until then the title of no such "
                   "process of its user is known");
}

Result<void> UserTitles::read(const Sources& sources, Processes processes) {
  std::vector<std::pair<const Process*, uid_t>> left;
  for (const Process* process : processes) {
    const auto owner = sources.filesOf(*process).and_then([&](const ProcessFiles& files) {
      return tenantOf(sources.paths(), files, sources.home());
    });
    if (hasFailed(owner)) return failureOf(owner);
    if (owner) left.emplace_back(process, *owner);
  }
  for (;;) {
    std::erase_if(left, [&](const auto& one) { return !isAskedFor(one.second); });
    if (left.empty()) return {};
    std::vector<const Process*> asked;
    asked.reserve(left.size());
    std::vector<std::chrono::milliseconds*> spent;
    spent.reserve(left.size());
    for (const auto& [process, owner] : left) {
      asked.push_back(process);
      spent.push_back(&spent_[owner]);
    }
    auto titles = readTitles(sources, asked, spent);
    if (!titles) return failureOf(titles);
    for (std::size_t i = 0; i < titles->size(); ++i)
      titles_.insert_or_assign(asked[i]->pid, std::move((*titles)[i]));
    if (titles->size() == asked.size()) return {};
    left.erase(left.begin(), left.begin() + static_cast<std::ptrdiff_t>(titles->size()));
    auto slow = std::find_if(left.begin(), left.end(),
                             [&](const auto& one) { return spent_[one.second] >= kPatience; });
    if (slow == left.end()) slow = left.begin();
    giveUp(sources, *slow->first, slow->second);
  }
}

Result<Title> UserTitles::of(const Sources& sources, const Process& process) {
  const auto known = titles_.find(process.pid);
  if (known != titles_.end()) return known->second;
  const std::array<const Process*, 1> one = {&process};
  const auto outcome = read(sources, one);
  if (!outcome) return errorOf(outcome);
  return titles_.try_emplace(process.pid, Title()).first->second;
}

}  // namespace zevo::connections
