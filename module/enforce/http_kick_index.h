// Finds the request that a login belongs to.
#pragma once

#include <map>
#include <string_view>
#include <utility>

#include "enforce/http_kick.h"

// Looks up requests, which must outlive it; only their ids may change.
class HttpKickIndex {
 public:
  explicit HttpKickIndex(std::list<HttpKickSession>& requests);

  // The first request in the list for logins of `user` from `client`; null if there is none.
  [[nodiscard]] HttpKickSession* find(std::string_view user, std::string_view client) const;

 private:
  // By user and address, without those that follow a request for all sessions of their user.
  std::map<std::pair<std::string_view, std::string_view>, HttpKickSession*> ofAddresses_;
  std::map<std::string_view, HttpKickSession*> ofUsers_;
};
