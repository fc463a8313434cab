#include "cli/client/json_text.h"

#include <json/writer.h>

namespace cli {

std::string compactJson(const Json::Value& value) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  return Json::writeString(builder, value);
}

}  // namespace cli
