#include "admission.h"

namespace host {

void Load::add(Entrance entrance, uid_t peer, uid_t asking) {
  if (entrance == Entrance::kWeb) {
    ++web;
  } else if (peer == 0) {
    ++root;
  } else {
    ++local;
    if (peer == asking) ++samePeer;
  }
}

bool isAdmitted(Entrance entrance, uid_t peer, const Load& load, std::size_t most) {
  const std::size_t all = load.web + load.local + load.root;
  if (entrance == Entrance::kLocal && peer == 0) return all < most;
  if (all + kKeptForRoot >= most) return false;
  if (entrance == Entrance::kWeb) return load.web + kKeptForLocal < most;
  return load.samePeer < kMostOfOnePeer && load.local + kKeptForRoot < most / 2;
}

}  // namespace host
