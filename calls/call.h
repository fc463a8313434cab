// One call, from request to answer: what a child of the daemon does.
#pragma once

#include <string>
#include <sys/types.h>

#include "calls/identity.h"
#include "calls/login.h"
#include "calls/method_call.h"
#include "calls/modules.h"
#include "calls/scoreboard.h"

namespace calls {

// Each takes the memory and time of a password hash, and a refused one two seconds.
inline constexpr LoginPlaces kLoginPlaces = {
    .all = 16, .ofStrangers = 12, .ofRefused = 6, .ofOneClient = 4};

// State shared by all calls.
struct Service {
  const Modules& modules;
  Scoreboard& board;
  Accounts& accounts;
  Logins& logins;
  LoginTools login;
  std::string sessionFile;
};

// Answers `request`, which came through `socketKind` from a process of user `peer`, and describes
// it in `slot`. `process`: the id of that process, if known.
Reply answerCall(HttpRequest& request, SocketKind socketKind, uid_t peer, const Service& service,
                 CallSlot& slot, pid_t process = 0);

// Handles a whole call on `connection`: reads the request, sends the answer and logs the call.
void serveConnection(int connection, SocketKind socketKind, uid_t peer, const Service& service,
                     CallSlot& slot);

// The content of /api/openapi.json.
extern const char* const kDescriptionText;

}  // namespace calls
