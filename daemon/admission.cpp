#include "daemon/admission.h"

namespace currentconnd {

using calls::SocketKind;

void Load::add(SocketKind socketKind, uid_t peer, uid_t asking) {
  if (socketKind == SocketKind::kWeb) {
    ++web;
  } else if (peer == 0) {
    ++root;
  } else {
    ++local;
    if (peer == asking) ++samePeer;
  }
}

bool isAdmitted(SocketKind socketKind, uid_t peer, const Load& load, std::size_t most) {
  const std::size_t all = load.web + load.local + load.root;
  if (socketKind == SocketKind::kLocal && peer == 0) return all < most;
  if (all + kKeptForRoot >= most) return false;
  if (socketKind == SocketKind::kWeb) return load.web + kKeptForLocal < most;
  return load.samePeer < kMostOfOnePeer && load.local + kKeptForRoot < most / 2;
}

}  // namespace currentconnd
