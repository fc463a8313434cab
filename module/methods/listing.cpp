#include "methods/listing.h"

#include <cstdint>
#include <ctime>

#include "collect/service_collector.h"
#include "collect/web_collector.h"

namespace {

// The number of the first record after the page. The sum wraps at 32 bits, which clients see as an
// empty page.
std::int32_t endOf(const Page& page) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(page.start) +
                                   static_cast<std::uint32_t>(page.limit));
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

Json::Value jsonOf(const SessionList& list, const Page& page) {
  const std::int32_t end =
      endOf({page.start, page.limit > 0 ? page.limit : static_cast<int>(list.size())});
  Json::Value items(Json::arrayValue);
  std::int32_t number = 0;
  for (auto session = list.begin(); session != list.end(); ++session, ++number) {
    if (number < page.start) continue;
    if (number >= end) break;
    Json::Value item;
    session->toJson(item);
    items.append(std::move(item));
  }
  return items;
}

Json::Value listingResult(const SessionList& list, const Page& page) {
  Json::Value result;
  result["total"] = static_cast<int>(list.size());
  result["items"] = jsonOf(list, page);
  result["systime"] = systemTime();
  return result;
}
