#include "services/socket_table.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <utility>

#include <libmnl/libmnl.h>
#include <linux/inet_diag.h>
#include <linux/sock_diag.h>

#include "base/file_failure.h"
#include "services/tcp_text.h"

namespace zevo::connections {
namespace {

constexpr int kTries = 5;
constexpr std::size_t kDatagramBytes = 32UL * 1024;  // the kernel's maximum in a dump

struct CloseNetlink {
  void operator()(mnl_socket* socket) const { ::mnl_socket_close(socket); }
};
using Netlink = std::unique_ptr<mnl_socket, CloseNetlink>;

Address addressOf(const inet_diag_msg& message, const __be32* bytes, __be16 port) {
  if (message.idiag_family == AF_INET) return addressOfIpv4(bytes, ntohs(port));
  Address address;
  std::memcpy(address.bytes.data(), bytes, address.bytes.size());
  address.interface = message.id.idiag_if;
  address.port = ntohs(port);
  return address;
}

int takeSocket(const nlmsghdr* header, void* data) {
  if (::mnl_nlmsg_get_payload_len(header) < sizeof(inet_diag_msg)) {
    errno = EBADMSG;
    return MNL_CB_ERROR;
  }
  const auto& message = *static_cast<const inet_diag_msg*>(::mnl_nlmsg_get_payload(header));
  static_cast<std::vector<Socket>*>(data)->push_back(
      {message.idiag_inode, addressOf(message, message.id.idiag_src, message.id.idiag_sport),
       addressOf(message, message.id.idiag_dst, message.id.idiag_dport), message.idiag_uid,
       message.idiag_state == TCP_CLOSE_WAIT,
       message.idiag_state == TCP_FIN_WAIT1 || message.idiag_state == TCP_FIN_WAIT2});
  return MNL_CB_OK;
}

// The end of a dump has the error that ended it, or 0.
int takeEnd(const nlmsghdr* header, void* /*data*/) {
  if (::mnl_nlmsg_get_payload_len(header) < sizeof(int)) return MNL_CB_STOP;
  const int error = *static_cast<const int*>(::mnl_nlmsg_get_payload(header));
  if (error == 0) return MNL_CB_STOP;
  errno = error < 0 ? -error : error;
  return MNL_CB_ERROR;
}

struct Request {
  nlmsghdr header;
  inet_diag_req_v2 what;
};

int takeError(const nlmsghdr* header, void* /*data*/) {
  const auto* refusal = static_cast<const nlmsgerr*>(::mnl_nlmsg_get_payload(header));
  const bool isWhole = ::mnl_nlmsg_get_payload_len(header) >= sizeof(nlmsgerr);
  errno = isWhole && refusal->error < 0 ? -refusal->error : EBADMSG;
  return MNL_CB_ERROR;
}

bool sendRequest(const mnl_socket* netlink, std::uint8_t family) {
  Request request{};
  request.header.nlmsg_len = sizeof(request);
  request.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
  request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
  request.what.sdiag_family = family;
  request.what.sdiag_protocol = IPPROTO_TCP;
  request.what.idiag_states = (1U << TCP_ESTABLISHED) | (1U << TCP_CLOSE_WAIT) |
                              (1U << TCP_FIN_WAIT1) | (1U << TCP_FIN_WAIT2);
  return ::mnl_socket_sendto(netlink, &request, sizeof(request)) >= 0;
}

DumpProgress receive(const mnl_socket* netlink, std::vector<Socket>* sockets) {
  std::vector<char> buffer(kDatagramBytes);
  DumpProgress progress = DumpProgress::kMore;
  while (progress == DumpProgress::kMore) {
    const ssize_t size = receiveFromKernel(::mnl_socket_get_fd(netlink), buffer);
    if (size < 0) return DumpProgress::kFailed;
    progress = parseDump({buffer.data(), static_cast<std::size_t>(size)}, sockets);
  }
  return progress;
}

// One dump of one family; on failure errno has the reason.
DumpProgress dump(std::uint8_t family, std::vector<Socket>* sockets) {
  const Netlink netlink(::mnl_socket_open2(NETLINK_SOCK_DIAG, SOCK_CLOEXEC));
  if (!netlink || ::mnl_socket_bind(netlink.get(), 0, MNL_SOCKET_AUTOPID) < 0) {
    return DumpProgress::kFailed;
  }
  if (!sendRequest(netlink.get(), family)) return DumpProgress::kFailed;
  return receive(netlink.get(), sockets);
}

bool readFamily(std::uint8_t family, std::vector<Socket>* sockets) {
  const std::size_t before = sockets->size();
  for (int i = 0; i < kTries; ++i) {
    const DumpProgress progress = dump(family, sockets);
    if (progress == DumpProgress::kDone) return true;
    if (progress == DumpProgress::kFailed) return false;
    sockets->resize(before);
    errno = EAGAIN;
  }
  return false;
}

}  // namespace

ssize_t receiveFromKernel(int netlink, std::span<char> buffer) {
  while (true) {
    sockaddr_nl sender{};
    iovec place{buffer.data(), buffer.size()};
    msghdr message{};
    message.msg_name = &sender;
    message.msg_namelen = sizeof(sender);
    message.msg_iov = &place;
    message.msg_iovlen = 1;
    const ssize_t size = ::recvmsg(netlink, &message, 0);
    if (size < 0 && errno == EINTR) continue;
    if (size < 0) return -1;
    // Any process may write to the port of this socket.
    if (message.msg_namelen != sizeof(sender) || sender.nl_pid != 0) continue;
    if ((message.msg_flags & MSG_TRUNC) == 0) return size;
    errno = EMSGSIZE;
    return -1;
  }
}

DumpProgress parseDump(std::span<const char> datagram, std::vector<Socket>* sockets) {
  std::array<mnl_cb_t, NLMSG_DONE + 1> control{};
  control[NLMSG_DONE] = takeEnd;
  control[NLMSG_ERROR] = takeError;
  const int result = ::mnl_cb_run2(datagram.data(), datagram.size(), 0, 0, takeSocket, sockets,
                                   control.data(), control.size());
  if (result == MNL_CB_STOP) return DumpProgress::kDone;
  if (result > MNL_CB_STOP) return DumpProgress::kMore;
  return errno == EINTR ? DumpProgress::kInterrupted : DumpProgress::kFailed;
}

SocketTable::SocketTable(std::vector<Socket> sockets) : sockets_(std::move(sockets)) {
  std::sort(sockets_.begin(), sockets_.end(),
            [](const Socket& a, const Socket& b) { return a.inode < b.inode; });
}

Result<SocketTable> SocketTable::read() {
  std::vector<Socket> sockets;
  if (!readFamily(AF_INET, &sockets) || !readFamily(AF_INET6, &sockets)) {
    return failure("cannot ask the kernel for the TCP connections: " + errorText(errno) +
                   "; load the kernel module tcp_diag and allow AF_NETLINK sockets");
  }
  return SocketTable(std::move(sockets));
}

Result<SocketTable> SocketTable::readOf(const ProcessFiles& process) {
  std::vector<Socket> sockets;
  for (const char* table : {"tcp", "tcp6"}) {
    const auto text = process.tcpText(table);
    if (hasFailed(text)) return errorOf(text);
    if (!text) continue;  // a kernel without IPv6 has no such table
    const auto ofFamily = parseTcpText(*text);
    sockets.insert(sockets.end(), ofFamily.begin(), ofFamily.end());
  }
  return SocketTable(std::move(sockets));
}

const Socket* SocketTable::find(std::uint64_t inode) const {
  const auto found =
      std::lower_bound(sockets_.begin(), sockets_.end(), inode,
                       [](const Socket& s, std::uint64_t key) { return s.inode < key; });
  return found != sockets_.end() && found->inode == inode ? &*found : nullptr;
}

}  // namespace zevo::connections
