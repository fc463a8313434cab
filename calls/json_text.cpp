#include "calls/json_text.h"

#include <memory>

#include <json/reader.h>
#include <json/writer.h>

namespace calls {
namespace {

std::string onOneLine(const Json::Value& value, bool inAscii) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  builder["emitUTF8"] = !inAscii;
  return Json::writeString(builder, value);
}

}  // namespace

// jsoncpp reports unreadable text by its return value, but deep nesting by an exception.
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

std::string compactJson(const Json::Value& value) {
  return onOneLine(value, false);
}

std::string asciiJson(const Json::Value& value) {
  std::string text = onOneLine(value, true);
  // jsoncpp escapes the other control characters.
  for (std::size_t at = 0; (at = text.find('\x7f', at)) != std::string::npos;)
    text.replace(at, 1, "\\u007f");
  return text;
}

}  // namespace calls
