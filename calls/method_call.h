// Running one method of a module.
#pragma once

#include <string>

#include "zevo/api_request.h"
#include "zevo/api_table.h"

namespace calls {

// The bytes that go back over the connection, and what the log says of them.
struct Reply {
  std::string bytes;
  int status = 0;
  int code = 0;  // 0 on success
};

// Runs the handler to its end on this thread. Whatever it does short of ending the process gives a
// reply: an exception, no outcome, or an output that is no answer are "no answer" (500). What it
// prints besides is dropped, with a line in the log. What the registry noted stands beside the
// answer; its causes name paths and processes, so only administrators are told them.
Reply runMethod(ApiHandler handler, ZEVO::RequestContext context);

}  // namespace calls
