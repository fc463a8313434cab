// What goes back to the caller.
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
  int code = 0;  // for the log: the problem's, 0 on success
};

// {"data": …} around `data`, which is JSON text, with "warnings" beside it where there are any.
Answer successAnswer(const std::string& data, const Json::Value& warnings = Json::arrayValue);

// A problem document. `causes` go into it where there are any.
Answer problemAnswer(Problem problem, const std::vector<std::string>& causes = {});
// The document for a method's error code; the code stands in it whatever it is.
Answer methodFailureAnswer(int code, const std::vector<std::string>& causes,
                           const Json::Value& warnings = {});
Answer wrongMethodAnswer(const std::string& allow);

// The bytes of the answer: header lines as a web server takes them from an SCGI program, then the
// body. Answers say that they are not to be kept.
std::string scgiText(const Answer& answer);

// What a method wrote to standard output itself, as the answer's bytes: its header lines with a
// status before them, then the rest. Empty where `output` is not header lines followed by an empty
// line, or where they name the status or the length themselves.
std::string passedThroughText(const std::string& output);

}  // namespace calls
