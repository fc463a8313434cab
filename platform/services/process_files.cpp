#include "services/process_files.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include <linux/openat2.h>

#include "base/file_failure.h"
#include "base/numbers.h"
#include "base/open_folder.h"
#include "base/read_file.h"
#include "base/result.h"
#include "base/text.h"

namespace zevo::connections {
namespace {

constexpr std::size_t kTextLimit = 4095;
constexpr std::size_t kLongTextLimit = 64UL * 1024 * 1024;  // some 430,000 sockets
constexpr int kMostThreads = 64;  // a tracer may keep any number of ended threads before the others
constexpr uid_t kNoLogin = static_cast<uid_t>(-1);  // of the kernel's loginuid

// "/proc/PID/cmdline": each argument ends in NUL; after a title, the rest of the old arguments are
// NULs.
Title parseTitle(const std::string& bytes) {
  Title title;
  title.first = bytes.substr(0, bytes.find('\0'));
  title.all = bytes.substr(0, bytes.find_last_not_of('\0') + 1);
  std::replace(title.all.begin(), title.all.end(), '\0', ' ');
  return title;
}

// The line "Uid:\tREAL\tEFFECTIVE\tSAVED\tFILE" of /proc/PID/status, or that of "Gid:". The name
// above it cannot fake such a line, since the kernel escapes its line breaks.
template <typename Ids>
std::optional<Ids> parseIds(std::string_view status, std::string_view key) {
  const std::size_t line = status.find(key);
  if (line == std::string_view::npos) return std::nullopt;
  status.remove_prefix(line + key.size());
  Ids ids;
  for (auto* id : {&ids.real, &ids.effective, &ids.saved}) {
    if (!status.starts_with('\t')) return std::nullopt;
    status.remove_prefix(1);
    const auto number = takeNumber<std::remove_pointer_t<decltype(id)>>(status);
    if (!number) return std::nullopt;
    *id = *number;
  }
  return ids;
}

// The inode in "socket:[12345]", which `kind` "socket" begins.
std::optional<std::uint64_t> inodeIn(std::string_view target, std::string_view kind) {
  if (!target.starts_with(kind) || !target.substr(kind.size()).starts_with(":[")) {
    return std::nullopt;
  }
  target.remove_prefix(kind.size() + 2);
  const auto inode = takeNumber<std::uint64_t>(target);
  return target == "]" ? inode : std::nullopt;
}

// The lowest numbers in a process's directory of descriptors, in order, at least `most` if there
// are so many; an errno if it cannot be read. The kernel makes an inode for each entry that fits
// into the buffer, which costs more than reading its link.
tl::expected<std::vector<int>, int> lowNumbers(const FileDescriptor& folder, std::size_t most) {
  constexpr std::size_t kEntry = 32;         // bytes, rounded up
  constexpr std::size_t kMostAtOnce = 1024;  // entries
  constexpr std::size_t kDots = 2;
  std::vector<char> buffer((std::min(most, kMostAtOnce) + kDots) * kEntry);
  std::vector<int> numbers;  // the kernel lists them in numerical order
  while (numbers.size() < most) {
    const ssize_t size = ::getdents64(folder.get(), buffer.data(), buffer.size());
    if (size < 0) return tl::unexpected(errno);
    if (size == 0) break;
    for (ssize_t at = 0; at < size;) {
      const auto* entry = reinterpret_cast<const dirent64*>(buffer.data() + at);
      if (const auto number = parseNumber<int>(entry->d_name)) numbers.push_back(*number);
      at += entry->d_reclen;
    }
  }
  std::sort(numbers.begin(), numbers.end());
  return numbers;
}

OpenFolder openFolderAt(int parent, const char* name) {
  FileDescriptor descriptor = openFileAt(parent, name, O_RDONLY | O_DIRECTORY);
  OpenFolder folder(descriptor ? ::fdopendir(descriptor.get()) : nullptr);
  if (folder) static_cast<void>(descriptor.release());  // the directory closes it
  return folder;
}

// Whether the thread (of the directory "TID/", or the first one) runs: one that has ended has no
// root.
bool runsThread(int folder, const std::string& thread = "") {
  char byte = 0;
  return ::readlinkat(folder, (thread + "root").c_str(), &byte, 1) >= 0 || errno != ENOENT;
}

// The directory of a thread that still runs if the first one has ended; none if that runs, or all
// have ended.
FileDescriptor openOtherThread(int process) {
  if (runsThread(process)) return {};
  const OpenFolder threads = openFolderAt(process, "task");
  for (int i = 0; threads && i < kMostThreads; ++i) {
    const dirent* entry = ::readdir(threads.get());
    if (entry == nullptr) break;
    if (!parseNumber<int>(entry->d_name)) continue;
    if (!runsThread(::dirfd(threads.get()), std::string(entry->d_name) + "/")) continue;
    return openFileAt(::dirfd(threads.get()), entry->d_name, O_RDONLY | O_DIRECTORY);
  }
  return {};
}

}  // namespace

tl::unexpected<Error> ProcessFiles::endedOrFailed(const char* name, int error) const {
  if (error == ENOENT || error == ESRCH) return gone();
  return failure("cannot read /proc/" + std::to_string(pid_) + "/" + name + ": " +
                     errorText(error) + "; run this as root with the capability CAP_SYS_PTRACE",
                 error);
}

Result<ProcessFiles> ProcessFiles::open(const Paths& paths, pid_t pid) {
  return openNamed(paths, pid, std::to_string(pid));
}

Result<ProcessFiles> ProcessFiles::openOwn(const Paths& paths) {
  return openNamed(paths, 0, "self");
}

Result<ProcessFiles> ProcessFiles::openNamed(const Paths& paths, pid_t pid,
                                             const std::string& name) {
  ProcessFiles files;
  files.pid_ = pid;
  const std::string folder = paths.proc + "/" + name;
  files.folder_ = openFile(folder.c_str(), O_RDONLY | O_DIRECTORY);
  if (!files.folder_) return files.endedOrFailed("", errno);
  return files;
}

int ProcessFiles::running() const {
  if (!thread_) thread_ = openOtherThread(folder_.get());
  return *thread_ ? thread_->get() : folder_.get();
}

Result<std::string> ProcessFiles::readText(int folder, const char* name) const {
  const FileDescriptor file = openFileAt(folder, name, O_RDONLY);
  if (!file) return endedOrFailed(name, errno);
  std::string text(kTextLimit, '\0');
  const ssize_t size = ::read(file.get(), text.data(), text.size());
  if (size < 0) return endedOrFailed(name, errno);
  text.resize(static_cast<std::size_t>(size));
  return text;
}

Result<std::string> ProcessFiles::readLink(int folder, const char* name) const {
  std::array<char, 4096> target{};
  const ssize_t size = ::readlinkat(folder, name, target.data(), target.size());
  // A user's directory may be too deep for a path; that must not hide the connection.
  if (size < 0 && errno == ENAMETOOLONG) return std::string();
  if (size < 0) return endedOrFailed(name, errno);
  return std::string(target.data(), static_cast<std::size_t>(size));
}

Result<Title> ProcessFiles::title() const {
  return readText(running(), "cmdline").map(parseTitle);
}

FileDescriptor ProcessFiles::memory() const {
  return openFileAt(running(), "mem", O_RDONLY);
}

// Like the kernel's "cmdline": a title that is longer than the arguments continues in the
// environment after them, up to a NUL.
Result<Title> ProcessFiles::titleIn(const FileDescriptor& memory, const Process& process) const {
  if (process.argumentsEnd <= process.argumentsBegin) return Title();
  const std::size_t arguments = process.argumentsEnd - process.argumentsBegin;
  const bool isEnvironmentNext = process.environmentBegin == process.argumentsEnd &&
                                 process.environmentEnd > process.environmentBegin;
  const std::uint64_t end = isEnvironmentNext ? process.environmentEnd : process.argumentsEnd;
  std::string bytes(std::min<std::size_t>(end - process.argumentsBegin, kTextLimit), '\0');
  const ssize_t size =
      ::pread(memory.get(), bytes.data(), bytes.size(), static_cast<off_t>(process.argumentsBegin));
  if (size < 0) return endedOrFailed("mem", errno);
  if (size == 0) return userIds().map([](const UserIds&) { return Title(); });
  bytes.resize(static_cast<std::size_t>(size));
  const bool goesOn = arguments <= bytes.size() && bytes[arguments - 1] != '\0';
  bytes.resize(goesOn ? std::min(bytes.find('\0'), bytes.size())
                      : std::min(arguments, bytes.size()));
  return parseTitle(bytes);
}

template <typename Ids>
Result<Ids> ProcessFiles::readIds(const char* key) const {
  const auto status = readText(folder_.get(), "status");
  if (!status) return errorOf(status);
  const auto ids = parseIds<Ids>(*status, key);
  if (!ids) return endedOrFailed("status", EBADMSG);
  return *ids;
}

Result<UserIds> ProcessFiles::userIds() const {
  return readIds<UserIds>("\nUid:");
}

Result<GroupIds> ProcessFiles::groupIds() const {
  return readIds<GroupIds>("\nGid:");
}

Result<std::optional<uid_t>> ProcessFiles::loginUid() const {
  const auto text = readText(folder_.get(), "loginuid");
  if (isGone(text)) return std::nullopt;  // a kernel without it has no such file
  if (!text) return errorOf(text);
  const auto uid = parseNumber<uid_t>(*text);
  return uid == kNoLogin ? std::nullopt : uid;
}

Result<std::string> ProcessFiles::workingDirectory() const {
  auto folder = readLink(running(), "cwd");
  if (folder && folder->empty()) *folder = kUnknownFolder;
  return folder;
}

Result<std::string> ProcessFiles::root() const {
  return readLink(running(), "root");
}

// From the kernel's cache: a user's file system is not accessed.
Result<struct statx> ProcessFiles::program() const {
  struct statx file {};
  constexpr unsigned kWanted = STATX_MODE | STATX_UID | STATX_INO;
  if (::statx(running(), "exe", AT_STATX_DONT_SYNC, kWanted, &file) == 0) return file;
  const int error = errno;
  const auto link = readLink(running(), "exe");
  if (!link) return errorOf(link);
  const bool isRefused = error == EACCES || error == EIO || error == ENOTCONN || error == ESTALE;
  if (!isRefused) return endedOrFailed("exe", error);
  // A user's file system may refuse even root: what is in it is not a program of root.
  struct statx foreign {};
  foreign.stx_uid = static_cast<uid_t>(-1);
  foreign.stx_mode = S_ISUID;
  return foreign;
}

Result<bool> ProcessFiles::isSetuidProgram() const {
  return program().map([](const auto& file) { return (file.stx_mode & S_ISUID) != 0; });
}

Result<bool> ProcessFiles::runs(const std::string& path) const {
  return program().map([&path](const auto& file) {
    struct statx other {};
    return ::statx(AT_FDCWD, path.c_str(), AT_STATX_DONT_SYNC, STATX_INO, &other) == 0 &&
           file.stx_ino == other.stx_ino && file.stx_dev_major == other.stx_dev_major &&
           file.stx_dev_minor == other.stx_dev_minor;
  });
}

Result<bool> ProcessFiles::isRootsProgram() const {
  constexpr mode_t kForbidden = S_ISUID | S_IWGRP | S_IWOTH;
  return program().map(
      [](const auto& file) { return file.stx_uid == 0 && (file.stx_mode & kForbidden) == 0; });
}

Result<std::string> ProcessFiles::programName() const {
  constexpr std::string_view kReplaced = " (deleted)";
  auto path = readLink(running(), "exe");
  if (!path) return path;
  if (path->ends_with(kReplaced)) (*path).resize(path->size() - kReplaced.size());
  return path->substr(path->rfind('/') + 1);
}

Result<std::uint64_t> ProcessFiles::namespaceNumber(const std::string& kind) const {
  const std::string name = "ns/" + kind;
  const bool endsWithThread = kind == "net" || kind == "mnt";
  const auto target = readLink(endsWithThread ? running() : folder_.get(), name.c_str());
  // The link is missing if the kernel lacks this kind, or if the process has ended.
  if (isGone(target)) return 0;
  if (!target) return errorOf(target);
  const auto number = inodeIn(*target, kind);
  if (!number) return endedOrFailed(name.c_str(), EBADMSG);
  return *number;
}

FileDescriptor ProcessFiles::openNamespace(const std::string& kind) const {
  return openFileAt(folder_.get(), ("ns/" + kind).c_str(), O_RDONLY);
}

Result<Namespaces> ProcessFiles::namespaces() const {
  const auto pid = namespaceNumber("pid");
  const auto network = namespaceNumber("net");
  const auto mount = namespaceNumber("mnt");
  if (!pid || !network || !mount) return errorOf(pid, network, mount);
  return Namespaces{*pid, *network, *mount};
}

Result<std::vector<pid_t>> ProcessFiles::children() const {
  const std::string name = "task/" + std::to_string(pid_) + "/children";
  return readText(folder_.get(), name.c_str()).map([](std::string_view text) {
    std::vector<pid_t> children;
    while (!text.empty()) {
      if (const auto pid = parseNumber<pid_t>(takeUntil(' ', text))) children.push_back(*pid);
    }
    return children;
  });
}

// In the line "SigCgt:\t0000000180014a03", whose lowest bit is signal 1.
Result<bool> ProcessFiles::handles(int signal) const {
  constexpr std::string_view kKey = "\nSigCgt:\t";
  const auto status = readText(folder_.get(), "status");
  if (!status) return errorOf(status);
  const std::size_t line = status->find(kKey);
  if (line == std::string::npos) return endedOrFailed("status", EBADMSG);
  std::uint64_t handled = 0;
  const char* begin = status->data() + line + kKey.size();
  const auto result = std::from_chars(begin, status->data() + status->size(), handled, 16);
  if (result.ec != std::errc()) return endedOrFailed("status", EBADMSG);
  return (handled >> static_cast<unsigned>(signal - 1) & 1U) != 0;
}

// In the line "Max processes             0                    0                    processes".
Result<bool> ProcessFiles::mayMakeProcesses() const {
  constexpr std::string_view kKey = "\nMax processes ";
  const Result<std::string> limits = readText(folder_.get(), "limits");
  if (!limits) return errorOf(limits);
  const std::size_t line = limits->find(kKey);
  if (line == std::string::npos) return endedOrFailed("limits", EBADMSG);
  const std::size_t limit = limits->find_first_not_of(' ', line + kKey.size());
  return limits->substr(std::min(limit, limits->size()), 2) != "0 ";
}

Result<std::string> ProcessFiles::cgroups() const {
  return readText(running(), "cgroup");
}

Result<FileIdentity> ProcessFiles::accountsFile() const {
  constexpr const char* kName = "root/etc/passwd";
  const FileDescriptor root = openFileAt(running(), "root", O_PATH | O_DIRECTORY);
  if (!root) return endedOrFailed("root", errno);
  // Otherwise an absolute link in that tree would lead into ours.
  open_how how{};
  how.flags = O_PATH | O_CLOEXEC;
  how.resolve = RESOLVE_IN_ROOT | RESOLVE_NO_MAGICLINKS;
  const FileDescriptor file(
      static_cast<int>(::syscall(SYS_openat2, root.get(), "etc/passwd", &how, sizeof(how))));
  struct stat status {};
  if (!file || ::fstat(file.get(), &status) != 0) return endedOrFailed(kName, errno);
  return FileIdentity{status.st_dev, status.st_ino};
}

Result<std::string> ProcessFiles::readLongText(const std::string& name) const {
  const FileDescriptor file = openFileAt(running(), name.c_str(), O_RDONLY);
  if (!file) return endedOrFailed(name.c_str(), errno);
  std::string text;
  const auto cause = readDescriptor(file.get(), name, kLongTextLimit, &text);
  if (cause) return endedOrFailed(name.c_str(), cause->error);
  return text;
}

Result<std::string> ProcessFiles::mounts() const {
  return readLongText("mountinfo");
}

Result<std::string> ProcessFiles::tcpText(const std::string& table) const {
  return readLongText("net/" + table);
}

Result<LowSockets> ProcessFiles::sockets(std::size_t most) const {
  const FileDescriptor folder = openFileAt(running(), "fd", O_RDONLY | O_DIRECTORY);
  if (!folder) return endedOrFailed("fd", errno);
  const auto numbers = lowNumbers(folder, most + 1);
  if (!numbers) return endedOrFailed("fd", numbers.error());
  LowSockets low;
  low.hasMore = numbers->size() > most;
  for (const int number : *numbers) {
    if (low.looks == most) break;
    ++low.looks;
    std::array<char, 64> target{};  // a socket's link is shorter
    const ssize_t size = ::readlinkat(folder.get(), std::to_string(number).c_str(), target.data(),
                                      target.size() - 1);
    if (size < 0 && errno == ENOENT) continue;        // closed in the meantime
    if (size < 0 && errno == ENAMETOOLONG) continue;  // a file in a user's deep directory
    if (size < 0) return endedOrFailed("fd", errno);
    const auto inode = inodeIn({target.data(), static_cast<std::size_t>(size)}, "socket");
    if (inode) low.sockets.push_back({number, *inode});
  }
  return low;
}

}  // namespace zevo::connections
