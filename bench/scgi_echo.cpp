// How fast a web server and SCGI are without a daemon behind: one process that answers each request
// with the bytes of a file, whatever was asked.
//
//   scgi_echo SOCKET FILE
#include <array>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

int listenAt(std::string_view path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(static_cast<char*>(address.sun_path), sizeof address.sun_path - 1);
  const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
  if (::bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) return -1;
  ::chmod(static_cast<char*>(address.sun_path), 0666);
  return ::listen(socket, SOMAXCONN) == 0 ? socket : -1;
}

// Requests of the measurement are shorter than the buffer and have no body: the netstring's comma
// ends them.
void readRequest(int connection) {
  std::array<char, 65536> buffer{};
  std::size_t filled = 0;
  while (filled == 0 || buffer.at(filled - 1) != ',') {
    const ssize_t got = ::read(connection, buffer.data() + filled, buffer.size() - filled);
    if (got <= 0) return;
    filled += static_cast<std::size_t>(got);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  std::ostringstream body;
  body << std::ifstream(argv[2]).rdbuf();
  const std::string answer =
      "Status: 200 OK\r\nContent-Type: application/json\r\nContent-Length: " +
      std::to_string(body.str().size()) + "\r\n\r\n" + body.str();
  const int listener = listenAt(argv[1]);
  if (listener < 0) return 1;
  for (;;) {
    const int connection = ::accept(listener, nullptr, nullptr);
    if (connection < 0) continue;
    readRequest(connection);
    static_cast<void>(!::write(connection, answer.data(), answer.size()));
    ::close(connection);
  }
}
