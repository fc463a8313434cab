// The requests "list" and "mine".
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include <json/value.h>

namespace cli {

struct Listing {
  std::optional<std::string> user;  // "mine": whose connections
  bool isOwn = false;               // "mine" without a name: the caller's
  std::string filter;               // empty: everything
  std::string sortBy;               // the method's word for the field; empty: its default
  std::string direction;            // "ASC", "DESC"; empty: the method's default
  std::optional<int> start;         // connections to skip, 0 or more
  std::optional<int> limit;         // length of the page; 0: all
  bool asJson = false;
  std::optional<std::chrono::milliseconds> watch;  // time between two reads

  bool operator==(const Listing&) const = default;
};

// The API method that serves it.
const char* methodOf(const Listing& listing);

// The method's parameters: only those that were given.
Json::Value parametersOf(const Listing& listing);

// The command-line words of one listing, as typed; nothing for options that were not given.
struct ListingWords {
  std::optional<std::string> user;
  std::optional<std::string> filter;
  std::optional<std::string> sortBy;
  std::optional<std::string> start;
  std::optional<std::string> limit;
  std::optional<std::string> watch;  // empty: without a number
  bool ascending = false;
  bool descending = false;
  bool asJson = false;
};

// The listing for `words`. Nothing, with a sentence on the first invalid word in `*wrong`, on
// failure.
std::optional<Listing> checkListing(const ListingWords& words, std::string* wrong);

}  // namespace cli
