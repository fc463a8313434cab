// The SCGI protocol: how a web server, or the command line, hands a request over.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace calls {

inline constexpr std::size_t kLongestHeaders = 64UL * 1024;
inline constexpr std::size_t kLongestBody = 1024UL * 1024;
inline constexpr std::size_t kLongestLoginBody = 4096;  // of /api/login, which anybody may send

struct ScgiRequest {
  std::map<std::string, std::string, std::less<>> headers;
  std::string body;

  // Null where there is no such header.
  [[nodiscard]] const std::string* header(std::string_view name) const;
};

// Puts a request together from the bytes that a connection yields. What arrives is hostile: nothing
// is kept beyond the limits above, and a request that is not exactly one SCGI request is none.
class ScgiParser {
 public:
  enum class State {
    kNeedMore,
    kComplete,
    kMalformed,
    kTooLarge,  // it announces more than a limit allows
  };

  // Takes the next bytes; returns the state after them. In another state than kNeedMore nothing
  // more is taken.
  State feed(std::string_view bytes);
  [[nodiscard]] State state() const { return state_; }

  // The request, once the state is kComplete. Its names are unique, except that of the client's own
  // header lines ("HTTP_…") that this daemon does not read the first one stays.
  [[nodiscard]] ScgiRequest& request() { return request_; }

 private:
  enum class Part { kLength, kHeaders, kComma, kBody };

  State finish(State state);
  State readLength(std::string_view& bytes);
  State readHeaders(std::string_view& bytes);
  State readComma(std::string_view& bytes);
  State readBody(std::string_view& bytes);

  State state_ = State::kNeedMore;
  Part part_ = Part::kLength;
  std::string collected_;
  std::size_t length_ = 0;  // of the part that is being read
  ScgiRequest request_;
};

// The bytes of a request with these header lines and this body. CONTENT_LENGTH and SCGI come of
// themselves.
std::string scgiRequestText(const std::vector<std::pair<std::string, std::string>>& headers,
                            std::string_view body);

// Reads a block of "name NUL value NUL" pairs. None where it is not that, a name stands in it twice
// that may not, or CONTENT_LENGTH is not the first or SCGI is not 1.
std::optional<ScgiRequest> parseScgiHeaders(std::string_view block);

}  // namespace calls
