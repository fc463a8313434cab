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

// Each takes memory and time of a password's hash, and a refused one two seconds.
inline constexpr LoginPlaces kLoginPlaces = {
    .all = 16, .ofStrangers = 12, .ofRefused = 6, .ofOneClient = 4};

// What all calls share.
struct Service {
  const Modules& modules;
  Scoreboard& board;
  Accounts& accounts;
  Logins& logins;
  LoginTools login;
  std::string sessionFile;
};

// Answers `request`, which came through `socketKind` from a process of user `peer`, and notes in
// `slot` what it is about. `process`: that one, where it is known.
Reply answerCall(HttpRequest& request, SocketKind socketKind, uid_t peer, const Service& service,
                 CallSlot& slot, pid_t process = 0);

// The whole of a call on `connection`: reads, answers, sends, writes its line to the log.
void serveConnection(int connection, SocketKind socketKind, uid_t peer, const Service& service,
                     CallSlot& slot);

// The description that /api/openapi.json gives.
extern const char* const kDescriptionText;

}  // namespace calls
