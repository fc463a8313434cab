// Which connections are to be ended.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/client/connection.h"

namespace cli {

// All that is given must hold; something is.
struct Selection {
  std::vector<std::uint32_t> pids;  // one of them; empty: any
  std::string user;                 // empty: any, as in the following
  std::string from;
  std::string type;
  std::string filter;  // the list method's own; a list that was not read with it is not checked

  bool operator==(const Selection&) const = default;
};

// The words of the command line for it, as they were typed.
struct SelectionWords {
  std::vector<std::string> pids;
  std::optional<std::string> user;
  std::optional<std::string> from;
  std::optional<std::string> service;
  std::optional<std::string> filter;
};

// Nothing, with `*wrong` a sentence, where the words make no sense or select everything.
std::optional<Selection> checkSelection(const SelectionWords& words, std::string* wrong);

// The users whom the connection's process serves: its own and, where one SMB process serves
// several, those that the resources name as in "photos (bob)". Each once, the own first; without
// empty names.
std::vector<std::string> usersOf(const Connection& connection);

// Whether `connection` is among those that `selection` means.
bool isSelected(const Connection& connection, const Selection& selection);

}  // namespace cli
