#include "daemon/admission.h"

#include <algorithm>

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

uid_t countedAs(uid_t peer, const std::vector<zevo::SubordinateRange>& ranges) {
  // Directories assign ids from here on; no account has one.
  constexpr uid_t kFirstOfDirectories = 0x80000000;
  if (peer >= kFirstOfDirectories) return kFirstOfDirectories;
  const auto range = std::find_if(ranges.begin(), ranges.end(), [peer](const auto& each) {
    // Ids of root's ranges are used only by what root has started.
    return each.account != "root" && each.account != "0" && each.holds(peer);
  });
  if (peer == 0 || range == ranges.end()) return peer;
  return std::max<uid_t>(static_cast<uid_t>(range->first), 1);  // never root
}

bool isAdmitted(SocketKind socketKind, uid_t peer, const Load& load, std::size_t most) {
  const std::size_t all = load.web + load.local + load.root;
  if (socketKind == SocketKind::kLocal && peer == 0) return all < most;
  if (all + kKeptForRoot >= most) return false;
  if (socketKind == SocketKind::kWeb) return load.web + kKeptForLocal < most;
  return load.samePeer < kMostOfOnePeer && load.local + kKeptForRoot < most / 2;
}

}  // namespace currentconnd
