// The sockets that the daemon listens on.
#pragma once

#include <string>
#include <vector>

#include "base/file_descriptor.h"
#include "calls/identity.h"

namespace currentconnd {

// A listening socket. Removes its name when it goes, unless it was handed over.
class Listener {
 public:
  Listener(zevo::FileDescriptor socket, calls::SocketKind socketKind, std::string ownPath)
      : socket_(std::move(socket)), entrance_(socketKind), ownPath_(std::move(ownPath)) {}
  ~Listener();
  Listener(Listener&& other) noexcept;
  Listener& operator=(Listener&&) = delete;
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  [[nodiscard]] int descriptor() const { return socket_.get(); }
  [[nodiscard]] calls::SocketKind socketKind() const { return entrance_; }
  // Whether it ends with us: it was not handed over.
  [[nodiscard]] bool isOwn() const { return !ownPath_.empty(); }
  // For a child: closes the socket and leaves its name alone.
  void forget();

 private:
  zevo::FileDescriptor socket_;
  calls::SocketKind entrance_;
  std::string ownPath_;
};

// The sockets that systemd hands over (named "web" and "local"), or else those of the
// configuration, made anew: the web server's for its group alone, the local one for everybody.
// False with *error where one cannot be had; where another daemon listens already, that is said.
bool openListeners(std::vector<Listener>* listeners, std::string* error);

// Makes and binds a socket at `path`, whose folder exists, with this group and mode, listening. A
// name that a dead process left behind is taken over, under a lock in `path`.lock. None with *error
// on failure.
zevo::FileDescriptor listenAt(const std::string& path, gid_t group, mode_t mode,
                              std::string* error);

}  // namespace currentconnd
