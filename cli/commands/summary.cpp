#include "cli/commands/summary.h"

#include <cstddef>

namespace cli {
namespace {

std::string emptySentence(const Listing& listing, Charset charset) {
  if (!listing.filter.empty()) {
    return "no connections match \"" + displayText(listing.filter, charset) + "\"";
  }
  if (listing.user) return "nobody is connected as " + displayText(*listing.user, charset);
  return "nobody is connected";
}

std::string restriction(const Listing& listing, Charset charset) {
  if (!listing.filter.empty()) {
    return " matching \"" + displayText(listing.filter, charset) + "\"";
  }
  if (listing.user) return " of " + displayText(*listing.user, charset);
  return "";
}

std::string countOf(int connections) {
  return std::to_string(connections) + (connections == 1 ? " connection" : " connections");
}

}  // namespace

std::string summaryOf(const Page& page, const Listing& listing, Charset charset) {
  if (page.total == 0) return emptySentence(listing, charset);
  const std::string which = restriction(listing, charset);
  const std::size_t shown = page.connections.size();
  const std::string total = std::to_string(page.total);
  if (shown == static_cast<std::size_t>(page.total)) return countOf(page.total) + which;

  const long long skipped = listing.start.value_or(0);
  if (shown == 0) {
    return "no connection after the first " + std::to_string(skipped) + ": there are " + total +
           " in all" + which;
  }
  const std::string first = std::to_string(skipped + 1);
  if (shown == 1) return "connection " + first + " of " + total + which;
  const std::string last = std::to_string(skipped + static_cast<long long>(shown));
  return "connections " + first + " to " + last + " of " + total + which;
}

}  // namespace cli
