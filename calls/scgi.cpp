#include "calls/scgi.h"

#include <algorithm>

#include "base/numbers.h"
#include "calls/http_request.h"
#include "calls/route.h"

namespace calls {
namespace {

constexpr std::size_t kLongestLength = 9;  // digits; far above both limits

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

// Only digits, without a leading zero.
std::optional<std::size_t> parseLength(std::string_view text) {
  if (text.empty() || text.size() > kLongestLength ||
      !std::all_of(text.begin(), text.end(), isDigit)) {
    return std::nullopt;
  }
  if (text.size() > 1 && text.front() == '0') return std::nullopt;
  return zevo::parseNumber<std::size_t>(text);
}

// Removes the text up to the next NUL from `block`; none if there is no NUL.
std::optional<std::string_view> takeText(std::string_view& block) {
  const std::size_t end = block.find('\0');
  if (end == std::string_view::npos) return std::nullopt;
  const std::string_view text = block.substr(0, end);
  block.remove_prefix(end + 1);
  return text;
}

std::size_t longestBodyOf(const ScgiRequest& request) {
  const std::string* target = request.header("REQUEST_URI");
  const bool isLogin = target != nullptr && target->substr(0, target->find('?')) == kLoginPath;
  return isLogin ? kLongestLoginBody : kLongestBody;
}

bool mayRepeat(std::string_view name) {
  return name.starts_with("HTTP_") && !isReadHeader(name);
}

}  // namespace

const std::string* ScgiRequest::header(std::string_view name) const {
  const auto found = headers.find(name);
  return found == headers.end() ? nullptr : &found->second;
}

std::string scgiRequestText(const std::vector<std::pair<std::string, std::string>>& headers,
                            std::string_view body) {
  std::string block;
  const auto add = [&block](std::string_view name, std::string_view value) {
    block.append(name).append(1, '\0').append(value).append(1, '\0');
  };
  add("CONTENT_LENGTH", std::to_string(body.size()));
  add("SCGI", "1");
  for (const auto& [name, value] : headers) add(name, value);
  return std::to_string(block.size()) + ":" + block + "," + std::string(body);
}

std::optional<ScgiRequest> parseScgiHeaders(std::string_view block) {
  ScgiRequest request;
  bool first = true;
  while (!block.empty()) {
    const auto name = takeText(block);
    const auto value = name ? takeText(block) : std::nullopt;
    if (!value || name->empty() || (first && *name != "CONTENT_LENGTH")) return std::nullopt;
    first = false;
    const bool added = request.headers.emplace(*name, *value).second;
    if (!added && !mayRepeat(*name)) return std::nullopt;
  }
  const std::string* version = request.header("SCGI");
  if (version == nullptr || *version != "1") return std::nullopt;
  return request;
}

ScgiParser::State ScgiParser::finish(State state) {
  state_ = state;
  return state;
}

ScgiParser::State ScgiParser::feed(std::string_view bytes) {
  while (state_ == State::kNeedMore && (!bytes.empty() || (part_ == Part::kBody && length_ == 0))) {
    switch (part_) {
      case Part::kLength:
        readLength(bytes);
        break;
      case Part::kHeaders:
        readHeaders(bytes);
        break;
      case Part::kComma:
        readComma(bytes);
        break;
      case Part::kBody:
        readBody(bytes);
        break;
    }
  }
  return state_;
}

ScgiParser::State ScgiParser::readLength(std::string_view& bytes) {
  const char next = bytes.front();
  bytes.remove_prefix(1);
  if (next != ':') {
    collected_ += next;
    const bool plausible = isDigit(next) && collected_.size() <= kLongestLength;
    return plausible ? state_ : finish(State::kMalformed);
  }
  const auto length = parseLength(collected_);
  if (!length || *length == 0) return finish(State::kMalformed);
  if (*length > kLongestHeaders) return finish(State::kTooLarge);
  length_ = *length;
  collected_.clear();
  part_ = Part::kHeaders;
  return state_;
}

ScgiParser::State ScgiParser::readHeaders(std::string_view& bytes) {
  const std::string_view taken = bytes.substr(0, length_ - collected_.size());
  collected_ += taken;
  bytes.remove_prefix(taken.size());
  if (collected_.size() == length_) part_ = Part::kComma;
  return state_;
}

ScgiParser::State ScgiParser::readComma(std::string_view& bytes) {
  if (bytes.front() != ',') return finish(State::kMalformed);
  bytes.remove_prefix(1);
  auto request = parseScgiHeaders(collected_);
  if (!request) return finish(State::kMalformed);
  const std::string* declared = request->header("CONTENT_LENGTH");
  const auto length = declared != nullptr ? parseLength(*declared) : std::nullopt;
  if (!length) return finish(State::kMalformed);
  if (*length > longestBodyOf(*request)) return finish(State::kTooLarge);
  request_ = std::move(*request);
  // Reserved at once: the body may contain a password, and a growing string leaves copies behind.
  request_.body.reserve(*length);
  length_ = *length;
  part_ = Part::kBody;
  return state_;
}

ScgiParser::State ScgiParser::readBody(std::string_view& bytes) {
  const std::string_view taken = bytes.substr(0, length_ - request_.body.size());
  request_.body += taken;
  bytes.remove_prefix(taken.size());
  if (!bytes.empty()) return finish(State::kMalformed);
  return request_.body.size() == length_ ? finish(State::kComplete) : state_;
}

}  // namespace calls
