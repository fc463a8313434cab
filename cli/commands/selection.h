// Which connections are to be ended.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <json/value.h>

namespace cli {

// The words of the command line for it, as they were typed.
struct SelectionWords {
  std::vector<std::string> pids;
  std::optional<std::string> user;
  std::optional<std::string> from;
  std::optional<std::string> service;
  std::optional<std::string> filter;
};

// What /api/plan takes as "select". Nothing, with `*wrong` a sentence, where the words make no
// sense or select everything.
std::optional<Json::Value> checkSelection(const SelectionWords& words, std::string* wrong);

}  // namespace cli
