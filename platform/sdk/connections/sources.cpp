#include "sdk/connections/sources.h"

namespace zevo::connections {

const Reading<SocketTable>& Sources::sockets() const {
  if (!sockets_) sockets_ = readSockets_();
  return *sockets_;
}

Reading<std::optional<Socket>> clientSocket(const Sources& sources, const ProcessFiles& files) {
  using Result = Reading<std::optional<Socket>>;
  const auto descriptors = files.sockets();
  if (!descriptors.ok()) return Result::like(descriptors);
  if (descriptors->empty()) return std::optional<Socket>();
  const Reading<SocketTable>& table = sources.sockets();
  if (!table.ok()) return Result::like(table);
  for (const SocketDescriptor& descriptor : *descriptors) {
    const Socket* socket = table->find(descriptor.inode);
    if (socket != nullptr) return std::optional<Socket>(*socket);
  }
  return std::optional<Socket>();
}

}  // namespace zevo::connections
