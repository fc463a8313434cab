#include "cli/commands/listing.h"

#include <array>
#include <limits>
#include <string_view>

#include "zevo/account.h"

#include "base/numbers.h"

namespace cli {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kWatchDefault{2000};
// Each read scans /proc; more frequent reads would mostly observe themselves.
constexpr double kWatchLeast = 0.2;
constexpr double kWatchMost = 86400;
constexpr int kGreatest = std::numeric_limits<int>::max();

struct SortWord {
  std::string_view typed;
  const char* field;
};

// The method's own words first, then the column names of the table.
constexpr std::array<SortWord, 10> kSortWords = {{{"time", "time"},
                                                  {"who", "who"},
                                                  {"from", "from"},
                                                  {"descr", "descr"},
                                                  {"type", "type"},
                                                  {"since", "time"},
                                                  {"user", "who"},
                                                  {"client", "from"},
                                                  {"resource", "descr"},
                                                  {"service", "type"}}};

bool takeCount(const char* option, const std::optional<std::string>& word,
               std::optional<int>* count, std::string* wrong) {
  if (!word) return true;
  *count = zevo::parseNumber<int>(*word);
  if (*count && **count >= 0) return true;
  *wrong = std::string(option) + " must be a whole number from 0 to " + std::to_string(kGreatest) +
           ", found \"" + *word + "\"";
  return false;
}

bool takeSortField(const std::optional<std::string>& word, std::string* field, std::string* wrong) {
  if (!word) return true;
  for (const SortWord& known : kSortWords) {
    if (*word != known.typed) continue;
    *field = known.field;
    return true;
  }
  *wrong =
      "--sort-by must be time, user, from, resource or service (or the API's who, descr, type), "
      "found \"" +
      *word + "\"";
  return false;
}

bool takeDirection(const ListingWords& words, std::string* direction, std::string* wrong) {
  if (words.ascending && words.descending) {
    *wrong = "--asc and --desc exclude each other: give one of them";
    return false;
  }
  if (words.ascending) *direction = "ASC";
  if (words.descending) *direction = "DESC";
  return true;
}

bool takeWatch(const ListingWords& words, std::optional<milliseconds>* watch, std::string* wrong) {
  if (!words.watch) return true;
  if (words.asJson) {
    *wrong = "--watch and --json exclude each other: give one of them";
    return false;
  }
  *watch = kWatchDefault;
  if (words.watch->empty()) return true;
  const std::optional<double> seconds = zevo::parseNumber<double>(*words.watch);
  if (!seconds || !(*seconds >= kWatchLeast && *seconds <= kWatchMost)) {
    *wrong = "--watch must be 0.2 to 86400 seconds, found \"" + *words.watch + "\"";
    return false;
  }
  *watch = milliseconds(static_cast<milliseconds::rep>(*seconds * 1000));
  return true;
}

bool takeUser(const std::optional<std::string>& word, std::optional<std::string>* user,
              std::string* wrong) {
  if (!word) return true;
  // For the method an empty name means all users.
  if (word->empty()) {
    *wrong = "--user must be the name of an account, found an empty string";
    return false;
  }
  *user = zevo::shownName(*word);
  return true;
}

// The method adds both as 32-bit numbers; a page that ends beyond their range would be empty.
void keepEndInRange(Listing* listing) {
  if (!listing->start || !listing->limit || *listing->limit == 0) return;
  if (*listing->limit > kGreatest - *listing->start) listing->limit = kGreatest - *listing->start;
}

}  // namespace

const char* methodOf(const Listing& listing) {
  return listing.user ? "list_by_user" : "list";
}

Json::Value parametersOf(const Listing& listing) {
  Json::Value parameters(Json::objectValue);
  if (!listing.filter.empty()) parameters["filter"] = listing.filter;
  if (!listing.sortBy.empty()) parameters["sort_by"] = listing.sortBy;
  if (!listing.direction.empty()) parameters["sort_direction"] = listing.direction;
  if (listing.start) parameters["start"] = *listing.start;
  if (listing.limit) parameters["limit"] = *listing.limit;
  return parameters;
}

std::optional<Listing> checkListing(const ListingWords& words, std::string* wrong) {
  Listing listing;
  listing.asJson = words.asJson;
  listing.filter = words.filter.value_or("");
  const bool isRight = takeUser(words.user, &listing.user, wrong) &&
                       takeSortField(words.sortBy, &listing.sortBy, wrong) &&
                       takeDirection(words, &listing.direction, wrong) &&
                       takeCount("--start", words.start, &listing.start, wrong) &&
                       takeCount("--limit", words.limit, &listing.limit, wrong) &&
                       takeWatch(words, &listing.watch, wrong);
  if (!isRight) return {};
  keepEndInRange(&listing);
  return listing;
}

}  // namespace cli
