// Ending web logins: their lines in the session file and their files of access time.
#pragma once

#include <list>
#include <string>

#include "zevo/api_request.h"

// One request to end web logins.
struct HttpKickSession {
  bool allSessions = false;  // of the user, from whatever address
  std::string user;
  std::string from;            // client address; empty with allSessions
  std::list<std::string> ids;  // of the sessions found, in file order
};

// Appends to each request the ids of the sessions that it asks for; a session goes to the first
// request that matches. Hidden sessions are left alone. True where the whole file was read; ids
// found before a failure stay.
bool ReadHttpKickSessions(ZEVO::APIRequest* request, std::list<HttpKickSession>& requests);

// Deletes the sessions of all requests. Goes on past a line that cannot be deleted; true where all
// were.
bool RemoveHttpKickSessions(ZEVO::APIRequest* request, const std::list<HttpKickSession>& requests);
