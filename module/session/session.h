// One current connection of one user to one service.
#pragma once

#include <cstdint>
#include <list>
#include <string>

#include <json/value.h>

#include "zevo/connections.h"

// The sort field of a list.
enum class SessionSortField : std::int32_t { time = 0, who = 1, from = 2, descr = 3, type = 4 };

class Session {
 public:
  class Compare;

  std::uint32_t pid = 0;  // of the process that serves the connection; of a web login its number
  std::string time;       // as the source writes it; sorted as text
  std::string who;        // as shown: "admin" for root
  std::string from;
  std::string descr;
  std::string type;  // name of the service, see set_strType

  // Sets the fields from a record of the registry or the login log. False, with nothing changed,
  // for null.
  bool setValue(const _tag_ZEVO_CURCONN_* rec);
  // Sets the fields of a connection named by a client. False, with nothing changed, if pid is 0 or
  // a text is empty.
  bool setValue(unsigned int newPid, const std::string& newType, const std::string& newWho,
                const std::string& newFrom);
  void set_strType(int id);

  // Whether a field, upper-cased, contains `upperNeedle`, which the caller has upper-cased.
  [[nodiscard]] bool withQuery(const char* upperNeedle) const;
  // Whether `who`, upper-cased, is `upperName`, which the caller has upper-cased.
  [[nodiscard]] bool withUserQuery(const char* upperName) const;

  // Whether both name the same connection; time and description are ignored, since clients do not
  // send them back.
  [[nodiscard]] bool is_equal(const Session& other) const;
  [[nodiscard]] bool check_can_be_kicked() const;
  [[nodiscard]] bool check_user_can_be_disabled() const;

  // Sets the eight members of a record in `out`, an object or null.
  void toJson(Json::Value& out) const;
};

using SessionList = std::list<Session>;
