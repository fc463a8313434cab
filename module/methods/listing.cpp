#include "methods/listing.h"

#include <cstdint>
#include <ctime>

#include "collect/service_collector.h"
#include "collect/web_collector.h"

namespace {

// Number of the first record behind the page. The sum wraps at 32 bits, which clients see as an
// empty page.
std::int32_t endOf(const Page& page) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(page.start) +
                                   static_cast<std::uint32_t>(page.limit));
}

Json::Value itemsOf(const SessionList& list, const Page& page) {
  Json::Value items(Json::arrayValue);
  const std::int32_t end = endOf(page);
  std::int32_t number = 0;
  Json::Value item;
  for (const Session& session : list) {
    if (number >= page.start) {
      if (number >= end) break;
      session.toJson(item);
      items.append(std::move(item));
      item = Json::Value();
    }
    ++number;
  }
  return items;
}

std::string systemTime() {
  const std::time_t now = std::time(nullptr);
  const char* text = std::ctime(&now);
  return text != nullptr ? text : "";
}

}  // namespace

bool collectSessions(ZEVO::APIRequest* request, SessionList& list) {
  const bool services = SDKSessionListGet(list);
  const bool logins = HttpSessionListGet(request, list);
  return services && logins;
}

Json::Value listingResult(const SessionList& list, const Page& page) {
  const int total = static_cast<int>(list.size());
  const Page whole = {page.start, page.limit > 0 ? page.limit : total};
  Json::Value result;
  Json::Value items = itemsOf(list, whole);
  result["total"] = total;
  result["items"] = std::move(items);
  result["systime"] = systemTime();
  return result;
}
