// Selects the connections to end.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <json/value.h>

namespace cli {

// The command-line words, as typed.
struct SelectionWords {
  std::vector<std::string> pids;
  std::optional<std::string> user;
  std::optional<std::string> from;
  std::optional<std::string> service;
  std::optional<std::string> filter;
};

// The "select" of /api/plan. Nothing, with a sentence in `*wrong`, if the words are invalid or
// select everything.
std::optional<Json::Value> checkSelection(const SelectionWords& words, std::string* wrong);

}  // namespace cli
