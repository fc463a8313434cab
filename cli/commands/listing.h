// What a person asks of "list" and "mine".
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include <json/value.h>

namespace cli {

// The account under which the module shows the connections of uid 0.
inline constexpr const char* kNameOfRoot = "admin";

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

// The API's method that answers it.
const char* methodOf(const Listing& listing);

// The method's parameters: those that were asked for.
Json::Value parametersOf(const Listing& listing);

// The words of the command line for one listing, as they were typed; nothing where an option was
// not given.
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

// The listing that `words` ask for. Nothing, with `*wrong` a sentence on the first that makes no
// sense, otherwise.
std::optional<Listing> checkListing(const ListingWords& words, std::string* wrong);

}  // namespace cli
