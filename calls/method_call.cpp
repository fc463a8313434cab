#include "calls/method_call.h"

#include <exception>
#include <syslog.h>
#include <utility>

#include "zevo/api_response.h"
#include "zevo/error_trail.h"
#include "zevo/read_notes.h"

#include "calls/captured_output.h"
#include "calls/log.h"
#include "host/disabled_accounts.h"

namespace calls {
namespace {

Reply failed(const std::string& why, bool showCauses) {
  logLine(LOG_ERR, "no answer: " + why);
  std::vector<std::string> causes;
  if (showCauses) causes.push_back(why);
  Reply reply = replyOf(problemAnswer(Problem::kNoAnswer, causes));
  reply.causes.clear();  // logged above
  return reply;
}

// Why the handler ended early; empty if it returned.
std::string run(ApiHandler handler, ZEVO::APIRequest& request, ZEVO::APIResponse& response) {
  try {
    handler(&request, &response);
    return {};
  } catch (const std::exception& thrown) {
    return "the method threw " + inQuotes(thrown.what());
  } catch (...) {
    return "the method threw an unknown exception";
  }
}

Json::Value warnings(bool showCauses) {
  std::vector<zevo::ReadNote> notes = zevo::readNotes();
  const std::vector<zevo::ReadNote> accounts = zevo::accountNotes();
  notes.insert(notes.end(), accounts.begin(), accounts.end());
  if (!showCauses) {
    for (zevo::ReadNote& note : notes) note.detail.clear();
  }
  return zevo::readNotesAsJson(notes);
}

Reply outcomeOf(const ZEVO::APIResponse& response, bool showCauses) {
  if (!response.HasOutcome()) return failed("the method recorded no outcome", showCauses);
  if (response.ErrorCode() == 0) {
    return replyOf(successAnswer(response.DataText(), warnings(showCauses)));
  }
  const int code = response.ErrorCode();
  const bool withCauses = showCauses && problemOfCode(code) == Problem::kWorkFailed;
  return replyOf(methodFailureAnswer(
      code, withCauses ? zevo::errorTrail() : std::vector<std::string>(), warnings(showCauses)));
}

Reply ownOutput(const std::string& output, bool showCauses) {
  std::string bytes = passedThroughText(output);
  if (bytes.empty())
    return failed("the method's output does not begin with header lines of its own", showCauses);
  return {std::move(bytes), 200, 0};
}

}  // namespace

Reply replyOf(const Answer& answer) {
  return {scgiText(answer), answer.status, answer.code, answer.causes};
}

Reply runMethod(ApiHandler handler, ZEVO::RequestContext context) {
  const bool isAdmin = context.isAdmin;
  CapturedOutput output;
  if (!output) return failed("the method's output could not be captured", isAdmin);
  ZEVO::APIRequest request(std::move(context));
  ZEVO::APIResponse response;
  zevo::clearErrorTrail();
  zevo::clearReadNotes();
  zevo::clearAccountNotes();
  const std::string thrown = run(handler, request, response);
  const std::string printed = output.text();
  if (!thrown.empty()) return failed(thrown, isAdmin);
  if (!response.IsOutputEnabled()) return ownOutput(printed, isAdmin);
  if (!printed.empty()) {
    logLine(LOG_WARNING, "the method printed " + std::to_string(printed.size()) +
                             " bytes outside its answer; they were dropped");
  }
  return outcomeOf(response, isAdmin);
}

}  // namespace calls
