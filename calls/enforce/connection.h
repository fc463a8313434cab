// Connections as the listing methods answer them, and as clients send them back.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <json/value.h>

#include "zevo/read_notes.h"

namespace calls::enforce {

// One row of a list. Texts are the services' own: they may hold anything, and may be empty.
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

// Web logins have numbers of their own instead of processes.
bool isWebLogin(const Connection& connection);
bool hasProcess(const Connection& connection);

// Whether both are of the same user, address and service.
bool isOfSameClient(const Connection& a, const Connection& b);
// Whether both are the same row of a list: what it is used for and since when may change, and the
// number of a web login that stands for several.
bool isSameRow(const Connection& a, const Connection& b);

// Whether what `warning` tells of may concern a connection of the service `type`.
bool isAbout(const zevo::ReadNote& warning, const std::string& type);

// Its eight members.
Json::Value asJson(const Connection& connection);
// The four by which a client names it.
Json::Value nameOf(const Connection& connection);
// A row of a list; nothing where a member is missing or of another type.
std::optional<Connection> listedConnection(const Json::Value& item);
// One that a client names: "who", "from", "type" and "pid" have to be there.
std::optional<Connection> namedConnection(const Json::Value& item);

// One page of a list.
struct Page {
  int total = 0;  // connections on all pages
  std::vector<Connection> connections;
  std::string systime;  // the server's local time in words, without a line break
  std::vector<zevo::ReadNote> warnings = {};  // what the list may lack; no part of its JSON text

  bool operator==(const Page&) const = default;
};

// Reads the result of a listing method from its JSON text; nothing where it is none.
std::optional<Page> parsePage(const std::string& json);

}  // namespace calls::enforce
