// Compares the description of the API with the table of services.
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/json.h"
#include "host/service_table.h"

namespace calls {
namespace {

using Names = std::set<std::string>;

// Every list of values that contains a service, anywhere.
void collectServiceLists(const Json::Value& value, std::vector<Names>& lists) {
  if (value.isObject() && value["enum"].isArray()) {
    Names names;
    for (const Json::Value& name : value["enum"]) names.insert(name.asString());
    if (names.count(std::string(zevo::kListedServices.front().name)) > 0) lists.push_back(names);
  }
  if (!value.isObject() && !value.isArray()) return;
  for (const Json::Value& part : value) collectServiceLists(part, lists);
}

// A connection has any service, a warning one that the registry reads, with SSH also for SFTP.
TEST(Description, NamesEveryServiceOfTheTable) {
  Names all = {std::string(zevo::kUnlistedService)};
  Names read;
  for (const zevo::ListedService& service : zevo::kListedServices) {
    all.emplace(service.name);
    const bool isRead = service.id != ZEVO_CURCONN_SFTP && service.id != ZEVO_CURCONN_HTTP;
    if (isRead) read.emplace(service.name);
  }
  std::ifstream file(DESCRIPTION_FILE);
  std::ostringstream text;
  text << file.rdbuf();
  std::vector<Names> lists;
  collectServiceLists(zevo::parseJson(text.str()).value(), lists);
  EXPECT_THAT(lists, testing::Contains(all));
  EXPECT_THAT(lists, testing::Contains(read));
  EXPECT_THAT(lists, testing::Each(testing::AnyOf(all, read)));
}

}  // namespace
}  // namespace calls
