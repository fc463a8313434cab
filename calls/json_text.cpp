#include "calls/json_text.h"

#include <memory>

#include <json/reader.h>

namespace calls {

// jsoncpp reports what it cannot read by return value, but deep nesting by exception.
std::optional<Json::Value> parseJson(const std::string& text) {
  Json::CharReaderBuilder builder;
  builder["failIfExtra"] = true;
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  Json::Value value;
  try {
    if (!reader->parse(text.data(), text.data() + text.size(), &value, nullptr)) return {};
  } catch (const Json::Exception&) {
    return {};
  }
  return value;
}

}  // namespace calls
