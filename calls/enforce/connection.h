// Connections in the answers of the listing methods, and in requests of clients.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <json/value.h>

#include "zevo/read_notes.h"

#include "host/service_table.h"

namespace calls::enforce {

// The types of connections with rules of their own.
inline constexpr std::string_view kSmb = zevo::serviceName(ZEVO_CURCONN_CIFS);
inline constexpr std::string_view kFtp = zevo::serviceName(ZEVO_CURCONN_FTP);
inline constexpr std::string_view kSftp = zevo::serviceName(ZEVO_CURCONN_SFTP);
inline constexpr std::string_view kSsh = zevo::serviceName(ZEVO_CURCONN_SSH);
inline constexpr std::string_view kWebLogins = zevo::serviceName(ZEVO_CURCONN_HTTP);

// One row of a list. Texts come from the services: they may contain anything and may be empty.
struct Connection {
  std::string time;
  std::string who;
  std::string from;
  std::string type;
  std::string descr;
  std::uint32_t pid = 0;
  bool canBeKicked = false;
  bool userCanBeDisabled = false;

  bool operator==(const Connection&) const = default;
};

// Web logins have their own numbers instead of processes.
bool isWebLogin(const Connection& connection);
bool hasProcess(const Connection& connection);

// Whether both have the same user, address and service.
bool isOfSameClient(const Connection& a, const Connection& b);
// Whether both are the same row of a list: resource and time may change, and so may the number of a
// web login that represents several.
bool isSameRow(const Connection& a, const Connection& b);

// Whether what `warning` tells of may concern a connection of the service `type`.
bool isAbout(const zevo::ReadNote& warning, const std::string& type);

// Its eight members.
Json::Value asJson(const Connection& connection);
// The four members by which a client identifies it.
Json::Value nameOf(const Connection& connection);
// A row of a list; nothing if a member is missing or has another type.
std::optional<Connection> listedConnection(const Json::Value& item);
// A connection in a request: "who", "from", "type" and "pid" are required.
std::optional<Connection> namedConnection(const Json::Value& item);

// One page of a list.
struct Page {
  int total = 0;  // connections on all pages
  std::vector<Connection> connections;
  std::string systime;  // the server's local time as text, without a line break
  std::vector<zevo::ReadNote> warnings = {};  // what the list may lack; not in its JSON text

  bool operator==(const Page&) const = default;
};

// Parses the JSON text of a listing method's result; nothing if it is not one.
std::optional<Page> parsePage(const std::string& json);

}  // namespace calls::enforce
