#include "daemon/listener.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <systemd/sd-daemon.h>
#include <unistd.h>

#include "base/file_failure.h"
#include "base/group.h"
#include "base/text.h"
#include "host/config.h"

namespace currentconnd {
namespace {

constexpr mode_t kWebMode = 0660;
constexpr mode_t kLocalMode = 0666;
constexpr gid_t kRootGroup = 0;

std::optional<sockaddr_un> addressOf(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) return std::nullopt;
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  return address;
}

zevo::FileDescriptor newSocket() {
  return zevo::FileDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

const sockaddr* generic(const sockaddr_un& address) {
  return reinterpret_cast<const sockaddr*>(&address);
}

// Whether the name was left behind by a daemon that has ended.
bool isDeserted(const std::string& path, const sockaddr_un& address) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0 || !S_ISSOCK(status.st_mode)) return false;
  const zevo::FileDescriptor probe = newSocket();
  return ::connect(probe.get(), generic(address), sizeof address) != 0 && errno == ECONNREFUSED;
}

// Held while a name is probed and taken over: if two daemons start at once, the second finds the
// listening socket of the first. The file is kept, since removing a lock file could remove another
// process's lock.
zevo::FileDescriptor lockName(const std::string& path) {
  zevo::FileDescriptor lock =
      zevo::openFile((path + ".lock").c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK, 0600);
  int result = 0;
  do {
    result = lock ? ::flock(lock.get(), LOCK_EX) : 0;
  } while (result != 0 && errno == EINTR);
  return result == 0 ? std::move(lock) : zevo::FileDescriptor();
}

zevo::FileDescriptor fail(const char* operation, const std::string& path, std::string* error) {
  const bool taken = errno == EADDRINUSE;
  *error = zevo::FileFailure{operation, path, errno}.text();
  if (taken) *error += "; is another currentconnd running?";
  return {};
}

// Whether the name is unused or belongs to a socket.
bool isForSockets(const std::string& path, std::string* error) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0 || S_ISSOCK(status.st_mode)) return true;
  *error = "cannot listen on " + zevo::printable(path, 4096) + ": " +
           (S_ISDIR(status.st_mode) ? "a directory" : "a file that is not a socket") +
           " is there; use another path";
  return false;
}

std::optional<gid_t> webGroup(std::string* error) {
  const std::string& name = zevo::config().webGroup;
  if (name.empty()) return kRootGroup;
  const auto group = zevo::groupNumber(name);
  if (group) return group;
  const std::string remedy = "; set web_group to the group of the web server";
  *error = zevo::configProblem("web_group", zevo::groupFailure(name, errno) + remedy);
  return std::nullopt;
}

// Whether the two sockets have different names; the error is reported for the one that is not at
// its default.
bool areApart(std::string* error) {
  const zevo::Config& config = zevo::config();
  const auto web = std::filesystem::path(config.webSocket).lexically_normal();
  if (web != std::filesystem::path(config.localSocket).lexically_normal()) return true;
  const bool isLocalUsual = config.localSocket == zevo::Config().localSocket;
  *error = zevo::configProblem(isLocalUsual ? "web_socket" : "local_socket",
                               "web_socket and local_socket are the same; give each a path of "
                               "its own");
  return false;
}

bool makeFolderOf(const std::string& path, std::string* error) {
  const std::string folder = path.substr(0, path.rfind('/'));
  if (folder.empty() || ::mkdir(folder.c_str(), 0755) == 0) {
    if (!folder.empty()) ::chmod(folder.c_str(), 0755);
    return true;
  }
  if (errno == EEXIST) return true;
  *error = zevo::FileFailure{"create", folder, errno}.text();
  return false;
}

zevo::FileDescriptor makeSocket(const char* key, const std::string& path, gid_t group, mode_t mode,
                                std::string* error) {
  std::string reason;
  zevo::FileDescriptor socket;
  if (makeFolderOf(path, &reason)) socket = listenAt(path, group, mode, &reason);
  if (!socket) *error = zevo::configProblem(key, reason);
  return socket;
}

bool makeListeners(std::vector<Listener>* listeners, std::string* error) {
  const auto group = webGroup(error);
  if (!group || !areApart(error)) return false;
  const zevo::Config& config = zevo::config();
  auto web = makeSocket("web_socket", config.webSocket, *group, kWebMode, error);
  if (!web) return false;
  listeners->emplace_back(std::move(web), calls::SocketKind::kWeb, config.webSocket);
  auto local = makeSocket("local_socket", config.localSocket, kRootGroup, kLocalMode, error);
  if (!local) return false;
  listeners->emplace_back(std::move(local), calls::SocketKind::kLocal, config.localSocket);
  return true;
}

std::optional<calls::SocketKind> socketKindNamed(const char* name) {
  if (std::strcmp(name, "web") == 0) return calls::SocketKind::kWeb;
  if (std::strcmp(name, "local") == 0) return calls::SocketKind::kLocal;
  return std::nullopt;
}

bool takeListeners(int count, char** names, std::vector<Listener>* listeners, std::string* error) {
  for (int i = 0; i < count; ++i) {
    zevo::FileDescriptor socket(SD_LISTEN_FDS_START + i);
    const auto socketKind = socketKindNamed(names[i]);
    if (!socketKind || ::sd_is_socket_unix(socket.get(), SOCK_STREAM, 1, nullptr, 0) <= 0) {
      *error = std::string("the socket \"") + names[i] +
               "\" from systemd is unknown: FileDescriptorName must be web or local";
      return false;
    }
    ::fcntl(socket.get(), F_SETFL, O_NONBLOCK);
    listeners->emplace_back(std::move(socket), *socketKind, "");
  }
  return true;
}

}  // namespace

Listener::~Listener() {
  if (socket_ && !ownPath_.empty()) ::unlink(ownPath_.c_str());
}

Listener::Listener(Listener&& other) noexcept
    : socket_(std::move(other.socket_)),
      socketKind_(other.socketKind_),
      ownPath_(std::exchange(other.ownPath_, {})) {}

void Listener::forget() {
  ownPath_.clear();
  socket_.reset();
}

zevo::FileDescriptor listenAt(const std::string& path, gid_t group, mode_t mode,
                              std::string* error) {
  const auto address = addressOf(path);
  errno = ENAMETOOLONG;
  if (!address) return fail("listen on", path, error);
  if (!isForSockets(path, error)) return {};
  const zevo::FileDescriptor lock = lockName(path);
  if (!lock) return fail("lock", path + ".lock", error);
  zevo::FileDescriptor socket = newSocket();
  if (!socket) return fail("listen on", path, error);
  if (isDeserted(path, *address)) ::unlink(path.c_str());
  if (::bind(socket.get(), generic(*address), sizeof *address) != 0) {
    return fail("listen on", path, error);
  }
  // Nobody can connect before listen(), so nobody gets access before owner and mode are set.
  if (::lchown(path.c_str(), 0, group) != 0) return fail("set the group of", path, error);
  if (::chmod(path.c_str(), mode) != 0) return fail("set the mode of", path, error);
  if (::listen(socket.get(), SOMAXCONN) != 0) return fail("listen on", path, error);
  return socket;
}

bool openListeners(std::vector<Listener>* listeners, std::string* error) {
  char** names = nullptr;
  const int count = ::sd_listen_fds_with_names(1, &names);
  if (count <= 0) return makeListeners(listeners, error);
  const bool taken = takeListeners(count, names, listeners, error);
  for (int i = 0; i < count; ++i) std::free(names[i]);
  std::free(names);
  return taken;
}

}  // namespace currentconnd
