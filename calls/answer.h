// The answer to a call.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include <json/value.h>

#include "calls/problem.h"

namespace calls {

struct Answer {
  int status = 200;
  std::string title = "OK";                                  // the status in words
  std::vector<std::pair<std::string, std::string>> headers;  // name, value
  std::string body;
  // For the log: the problem's, 0 on success; and the causes in the body.
  int code = 0;
  std::vector<std::string> causes;
};

// {"data": …} with the JSON text `data`, and "warnings" if there are any.
Answer successAnswer(const std::string& data, const Json::Value& warnings = Json::arrayValue);

// A problem document, with `causes` if there are any.
Answer problemAnswer(Problem problem, const std::vector<std::string>& causes = {});
// The document for a method's error code, which it always contains.
Answer methodFailureAnswer(int code, const std::vector<std::string>& causes,
                           const Json::Value& warnings = {});
Answer wrongMethodAnswer(const std::string& allow);

// The bytes of the answer: header lines as a web server expects them from an SCGI program, then the
// body. Answers forbid caching.
std::string scgiText(const Answer& answer);

// A method's own output as the bytes of the answer: a status, the method's header lines, then the
// rest. Empty if `output` is not header lines followed by an empty line, or if they contain the
// status or the length.
std::string passedThroughText(const std::string& output);

}  // namespace calls
