// Connections as the listing methods answer them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "zevo/read_notes.h"

namespace cli {

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

// Whether both are the same connection: what it is used for and since when may change.
bool isSameConnection(const Connection& a, const Connection& b);

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

}  // namespace cli
