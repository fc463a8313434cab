// Ending web logins: their lines in the session file and their files of access time.
#pragma once

#include <list>
#include <string>

#include "zevo/api_request.h"

// One request to end web logins.
struct HttpKickSession {
  bool allSessions = false;  // of the user, from any address
  std::string user;
  std::string from;            // client address; empty with allSessions
  std::list<std::string> ids;  // of the sessions found, in file order
};

// Appends to each request the ids of its sessions; a session belongs to the first request that
// matches. Hidden sessions are ignored. True if the whole file was read; ids found before a failure
// are kept.
bool ReadHttpKickSessions(ZEVO::APIRequest* request, std::list<HttpKickSession>& requests);

// Deletes the sessions of all requests. Continues after a line that cannot be deleted; true if all
// were deleted.
bool RemoveHttpKickSessions(ZEVO::APIRequest* request, const std::list<HttpKickSession>& requests);
