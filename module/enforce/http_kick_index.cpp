#include "enforce/http_kick_index.h"

HttpKickIndex::HttpKickIndex(std::list<HttpKickSession>& requests) {
  for (HttpKickSession& request : requests) {
    // An earlier request already takes all sessions of the user.
    if (ofUsers_.count(request.user) != 0) continue;
    if (request.allSessions) {
      ofUsers_.emplace(request.user, &request);
    } else {
      ofAddresses_.try_emplace({request.user, request.from}, &request);
    }
  }
}

HttpKickSession* HttpKickIndex::find(std::string_view user, std::string_view client) const {
  const auto ofAddress = ofAddresses_.find({user, client});
  if (ofAddress != ofAddresses_.end()) return ofAddress->second;
  const auto ofUser = ofUsers_.find(user);
  return ofUser != ofUsers_.end() ? ofUser->second : nullptr;
}
