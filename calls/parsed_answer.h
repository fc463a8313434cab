// The answer of a method, parsed from its bytes.
#pragma once

#include <string>
#include <vector>

#include "zevo/read_notes.h"

namespace calls {

struct MethodAnswer {
  enum class Status {
    kDone,       // `data` is the method's result as JSON text
    kRefused,    // the method answered with the error `code`
    kOwnOutput,  // `data` is what the method wrote itself, without its header lines
    kFailed,     // there is no answer
  };
  Status status = Status::kFailed;
  int code = 0;
  std::string data;
  std::vector<std::string> causes = {};       // of kRefused and kFailed; may be empty
  std::vector<zevo::ReadNote> warnings = {};  // of kDone: what the list may lack

  bool operator==(const MethodAnswer&) const = default;
};

// Error codes of the API.
inline constexpr int kCodeNotAdministrator = 105;
inline constexpr int kCodeFailed = 117;
inline constexpr int kCodeTooFewAdministrators = 7100;

MethodAnswer failedAnswer(std::string cause);

// Parses what an SCGI server sent: header lines, an empty line, a body.
MethodAnswer answerFromScgi(const std::string& received);

}  // namespace calls
