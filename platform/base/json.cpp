#include "base/json.h"

#include <memory>

#include <json/reader.h>
#include <json/writer.h>

namespace zevo {
namespace {

constexpr int kDeepest = 32;

std::string onOneLine(const Json::Value& value, bool inAscii) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  builder["emitUTF8"] = !inAscii;
  return Json::writeString(builder, value);
}

}  // namespace

std::optional<Json::Value> parseJson(std::string_view text, RepeatedNames repeated,
                                     std::string* problem) {
  Json::CharReaderBuilder builder;
  Json::CharReaderBuilder::strictMode(&builder.settings_);
  builder["strictRoot"] = false;
  builder["rejectDupKeys"] = repeated == RepeatedNames::kRefused;
  builder["stackLimit"] = kDeepest;
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  Json::Value value;
  try {
    if (reader->parse(text.data(), text.data() + text.size(), &value, problem)) return value;
  } catch (const Json::Exception& failure) {  // nested too deeply
    if (problem != nullptr) *problem = failure.what();
  }
  return std::nullopt;
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

}  // namespace zevo
