// One reading of the registry for all calls of the same moment.
//
// Many calls come at once: each row that is ended is a call of its own, and each open page asks
// every few seconds. Each would start the services' tools anew. Instead the first to come reads,
// and the others wait for what it found.
//
// Why one list is right for every caller. A list that was begun after a call began is never older
// than what that call would have read by itself. The registry is the same for everybody: it is read
// with root's rights, whoever asks, and who may see or end what is decided above it. A caller that
// acts on a list (kick, disable) compares it with what it was asked to end, and looks once more
// whether each process is there, as after a reading of its own. What a reading depends on besides
// the time stands in its key: where the paths lead, the namespaces, the root folder, the time zone
// and the start of the system.
//
// Who can write it. Folder and files belong to the reading user alone (root in service), are opened
// without following links, and are checked once open; anything else there is not believed. Where
// the folder cannot be had each caller reads for itself.
//
// Who waits how long. A reading that follows another closely begins as long after it as that one
// took, at most 250 ms, so that more calls share it. A reader holds a lock, which goes with its
// process, so a crashed one delays nobody. One that hangs loses it once it has taken `patience`,
// which is also the longest that a caller waits. Two readers at once are harmless: the list is
// replaced as a whole, and carries its own time. The lock covers processes, not threads.
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "services/connection_list.h"
#include "services/gone.h"
#include "services/paths.h"

namespace zevo::connections {

struct ListCall {
  std::chrono::nanoseconds begin;  // of the call, in time since the start of the system
  std::chrono::milliseconds acceptedAge{0};
  std::chrono::milliseconds patience{0};
};

// A list, and the time in which it was read.
struct TimedList {
  std::chrono::nanoseconds began{0};
  std::chrono::nanoseconds ended{0};
  ConnectionList list;

  bool operator==(const TimedList&) const = default;
};

// How long a reading that would begin `now` waits for more calls to share it, after one that gave
// `last`.
std::chrono::nanoseconds restAfter(const TimedList& last, std::chrono::nanoseconds now);

// What somebody else's list has to have in common with ours.
std::string sharingKey(const Paths& paths);

using ListReader = std::function<Result<void>(ConnectionList* list)>;

// Replaces *list by one whose reading began no earlier than `call.acceptedAge` before the call: one
// that another process stored in the folder `paths.sharedList`, or what `read` gives now, which is
// stored there for the others. Fails as `read` does; a failure is nobody else's.
Result<void> readShared(const Paths& paths, const ListCall& call, const ListReader& read,
                        TimedList* list);

}  // namespace zevo::connections
