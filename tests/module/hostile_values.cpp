#include "module/hostile_values.h"

#include <limits>

#include "module/support.h"

namespace module_test {

std::vector<Json::Value> hostileValues() {
  std::vector<Json::Value> values;
  for (const char* text :
       {"[null, true, false, -1, 0, 1, 2147483648, 4294967295, 4294967296, -2147483649]",
        "[-9223372036854775808, 18446744073709551615, 0.5, -0.5, 1e300, -1e300, 4294967295.5]",
        R"(["", "abc", "900", "-1", "../../etc", "a@b", "a\\b", "a\u0000b", "\n", "\"", "%s%n"])",
        R"([[], {}, [[]], [{}], {"pid": 900}, {"who": {"who": "alice"}}, ["alice", "bob"]])"}) {
    for (const Json::Value& value : json(text)) values.push_back(value);
  }
  values.emplace_back(std::string("\xFF\xFE\x80", 3));
  values.emplace_back(std::string(100000, 'x'));
  values.emplace_back(std::numeric_limits<double>::infinity());
  values.emplace_back(std::numeric_limits<double>::quiet_NaN());
  return values;
}

}  // namespace module_test
