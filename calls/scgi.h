// The SCGI protocol, by which a web server or the command line passes a request.
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

  // Null if the header is missing.
  [[nodiscard]] const std::string* header(std::string_view name) const;
};

// Assembles a request from the bytes of a connection. The input is untrusted: nothing beyond the
// limits above is kept, and anything but exactly one SCGI request is invalid.
class ScgiParser {
 public:
  enum class State {
    kNeedMore,
    kComplete,
    kMalformed,
    kTooLarge,  // it announces more than a limit allows
  };

  // Takes the next bytes and returns the new state. Only the state kNeedMore takes more bytes.
  State feed(std::string_view bytes);
  [[nodiscard]] State state() const { return state_; }

  // The request, once the state is kComplete. Its names are unique; of repeated client header lines
  // ("HTTP_…") that this daemon does not read, the first is kept.
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

// The bytes of a request with these header lines and this body. CONTENT_LENGTH and SCGI are added.
std::string scgiRequestText(const std::vector<std::pair<std::string, std::string>>& headers,
                            std::string_view body);

// Reads a block of "name NUL value NUL" pairs. None if it is malformed, if a name is repeated that
// must not be, if CONTENT_LENGTH is not first, or if SCGI is not 1.
std::optional<ScgiRequest> parseScgiHeaders(std::string_view block);

}  // namespace calls
