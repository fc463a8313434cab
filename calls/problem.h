// All failures that the HTTP API can return.
#pragma once

namespace calls {

enum class Problem {
  kMalformed,
  kMalformedJson,
  kNotLoggedIn,
  kWrongLogin,
  kNobody,  // local.sock: no identity
  kNotAdministrator,
  kViewOnly,
  kOtherOrigin,
  kNotFound,
  kWrongMethod,
  kTooFewAdministrators,
  kNotDisabled,
  kTooLarge,
  kNotJson,
  kWorkFailed,
  kNoAnswer,
  kBusy,
  kTooLate,
};

struct ProblemRow {
  int status;
  int code;            // the method's number; the status for the host's own problems
  const char* title;   // the status in words
  const char* detail;  // what happened and what to do
};

const ProblemRow& rowOf(Problem problem);

// The problem for a method's error code; kWorkFailed for codes without a row.
Problem problemOfCode(int code);

}  // namespace calls
