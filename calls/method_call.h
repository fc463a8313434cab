// Running one method of a module.
#pragma once

#include <string>
#include <vector>

#include "zevo/api_request.h"
#include "zevo/api_table.h"

#include "calls/answer.h"

namespace calls {

// The bytes to send, and what the log says about them.
struct Reply {
  std::string bytes;
  int status = 0;
  int code = 0;                          // 0 on success
  std::vector<std::string> causes = {};  // if the answer has any
};

Reply replyOf(const Answer& answer);

// Runs the handler on this thread. Unless it ends the process, there is always a reply: an
// exception, a missing outcome, or output that is not an answer become "no answer" (500). Other
// output is dropped, with a line in the log. The registry's notes are added to the answer; their
// causes name paths and processes, so only administrators receive them.
Reply runMethod(ApiHandler handler, ZEVO::RequestContext context);

}  // namespace calls
