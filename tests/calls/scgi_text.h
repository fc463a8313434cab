// SCGI requests for tests.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace calls::testing_support {

using Headers = std::vector<std::pair<std::string, std::string>>;

inline std::string headerBlock(const Headers& headers) {
  std::string block;
  for (const auto& [name, value] : headers) block += name + '\0' + value + '\0';
  return block;
}

inline std::string netstring(const std::string& text) {
  return std::to_string(text.size()) + ":" + text + ",";
}

// A well-formed request with `more` header lines after the two required ones.
inline std::string scgiRequest(const Headers& more, const std::string& body = "") {
  Headers headers = {{"CONTENT_LENGTH", std::to_string(body.size())}, {"SCGI", "1"}};
  headers.insert(headers.end(), more.begin(), more.end());
  return netstring(headerBlock(headers)) + body;
}

}  // namespace calls::testing_support
