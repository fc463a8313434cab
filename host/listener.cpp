#include "listener.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <grp.h>
#include <memory>
#include <optional>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <systemd/sd-daemon.h>
#include <unistd.h>

#include "zevo/config.h"

#include "base/file_failure.h"

namespace host {
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

// Whether a name is left from a daemon that is gone.
bool isDeserted(const std::string& path, const sockaddr_un& address) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0 || !S_ISSOCK(status.st_mode)) return false;
  const zevo::FileDescriptor probe = newSocket();
  return ::connect(probe.get(), generic(address), sizeof address) != 0 && errno == ECONNREFUSED;
}

zevo::FileDescriptor fail(const char* operation, const std::string& path, std::string* error) {
  const bool taken = errno == EADDRINUSE;
  *error = zevo::FileFailure{operation, path, errno}.text();
  if (taken) *error += "; is another currentconnd running?";
  return {};
}

std::optional<gid_t> webGroup(std::string* error) {
  const std::string& name = zevo::config().webGroup;
  if (name.empty()) return kRootGroup;
  const group* entry = ::getgrnam(name.c_str());
  if (entry != nullptr) return entry->gr_gid;
  *error = "there is no group \"" + name + "\"; set web_group to the group of the web server";
  return std::nullopt;
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

bool addListener(Entrance entrance, const std::string& path, gid_t group, mode_t mode,
                 std::vector<Listener>* listeners, std::string* error) {
  if (!makeFolderOf(path, error)) return false;
  auto socket = listenAt(path, group, mode, error);
  if (!socket) return false;
  listeners->emplace_back(std::move(socket), entrance, path);
  return true;
}

bool makeListeners(std::vector<Listener>* listeners, std::string* error) {
  const auto group = webGroup(error);
  const zevo::Config& config = zevo::config();
  return group &&
         addListener(Entrance::kWeb, config.webSocket, *group, kWebMode, listeners, error) &&
         addListener(Entrance::kLocal, config.localSocket, kRootGroup, kLocalMode, listeners,
                     error);
}

std::optional<Entrance> entranceNamed(const char* name) {
  if (std::strcmp(name, "web") == 0) return Entrance::kWeb;
  if (std::strcmp(name, "local") == 0) return Entrance::kLocal;
  return std::nullopt;
}

bool takeListeners(int count, char** names, std::vector<Listener>* listeners, std::string* error) {
  for (int i = 0; i < count; ++i) {
    zevo::FileDescriptor socket(SD_LISTEN_FDS_START + i);
    const auto entrance = entranceNamed(names[i]);
    if (!entrance || ::sd_is_socket_unix(socket.get(), SOCK_STREAM, 1, nullptr, 0) <= 0) {
      *error = std::string("the socket \"") + names[i] +
               "\" that was handed over is none of ours: FileDescriptorName must be web or local";
      return false;
    }
    ::fcntl(socket.get(), F_SETFL, O_NONBLOCK);
    listeners->emplace_back(std::move(socket), *entrance, "");
  }
  return true;
}

}  // namespace

Listener::~Listener() {
  if (socket_ && !ownPath_.empty()) ::unlink(ownPath_.c_str());
}

Listener::Listener(Listener&& other) noexcept
    : socket_(std::move(other.socket_)),
      entrance_(other.entrance_),
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
  zevo::FileDescriptor socket = newSocket();
  if (!socket) return fail("listen on", path, error);
  if (isDeserted(path, *address)) ::unlink(path.c_str());
  if (::bind(socket.get(), generic(*address), sizeof *address) != 0) {
    return fail("listen on", path, error);
  }
  // Nobody can connect before listen(), so the name is never open to more than it should be.
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

}  // namespace host
