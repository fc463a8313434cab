#include "json_text.h"

#include <memory>

#include <json/reader.h>

namespace cli {

// jsoncpp reports what it cannot read by return value, but deep nesting by exception.
std::optional<Json::Value> parseJson(const std::string& text) {
  const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
  Json::Value value;
  try {
    if (!reader->parse(text.data(), text.data() + text.size(), &value, nullptr)) return {};
  } catch (const Json::Exception&) {
    return {};
  }
  return value;
}

}  // namespace cli
