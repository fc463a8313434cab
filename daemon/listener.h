// The sockets that the daemon listens on.
#pragma once

#include <string>
#include <vector>

#include "base/file_descriptor.h"
#include "calls/identity.h"

namespace currentconnd {

// A listening socket. Its destructor removes its name, unless systemd passed it.
class Listener {
 public:
  Listener(zevo::FileDescriptor socket, calls::SocketKind socketKind, std::string ownPath)
      : socket_(std::move(socket)), socketKind_(socketKind), ownPath_(std::move(ownPath)) {}
  ~Listener();
  Listener(Listener&& other) noexcept;
  Listener& operator=(Listener&&) = delete;
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  [[nodiscard]] int descriptor() const { return socket_.get(); }
  [[nodiscard]] calls::SocketKind socketKind() const { return socketKind_; }
  // Whether it ends with this process: systemd did not pass it.
  [[nodiscard]] bool isOwn() const { return !ownPath_.empty(); }
  // For a child: closes the socket and keeps its name.
  void forget();

 private:
  zevo::FileDescriptor socket_;
  calls::SocketKind socketKind_;
  std::string ownPath_;
};

// The sockets passed by systemd (named "web" and "local"), otherwise newly created ones from the
// configuration: the web server's for its group only, the local one for everybody. False with
// *error if one cannot be created, or if another daemon is already listening.
bool openListeners(std::vector<Listener>* listeners, std::string* error);

// Creates a listening socket at `path`, in an existing directory, with this group and mode. A name
// left behind by a process that has ended is taken over, under a lock in `path`.lock. None with
// *error on failure.
zevo::FileDescriptor listenAt(const std::string& path, gid_t group, mode_t mode,
                              std::string* error);

}  // namespace currentconnd
