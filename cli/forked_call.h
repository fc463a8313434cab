// A call in a child process of its own.
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>
#include <unistd.h>

#include <json/value.h>

#include "answer.h"
#include "backend.h"
#include "base/file_descriptor.h"

namespace cli {

// What becomes of a call whose caller ends, or gives it up, before its answer came.
enum class Bond {
  kEnds,    // it ends too: nobody wants its answer
  kGoesOn,  // it does its work to the end, also when Ctrl-C ends the caller
};

// So the caller can wait for other things meanwhile, a crash costs this call alone, and calls can
// run side by side although each process makes one at a time.
class ForkedCall {
 public:
  struct Options {
    Bond bond = Bond::kEnds;
    int standardOutput = STDERR_FILENO;  // where goes what the method prints itself
  };

  // Nothing, with `*cause` set, where no process can be started.
  static std::optional<ForkedCall> start(Backend& backend, const std::string& method,
                                         const Json::Value& parameters, const Options& options,
                                         std::string* cause);
  ~ForkedCall();
  ForkedCall(ForkedCall&& other) noexcept;
  ForkedCall& operator=(ForkedCall&& other) = delete;
  ForkedCall(const ForkedCall&) = delete;
  ForkedCall& operator=(const ForkedCall&) = delete;

  // Becomes readable whenever advance has something to do.
  [[nodiscard]] int descriptor() const { return pipe_.get(); }

  // Takes what the child has sent, waiting for the next of it; the answer once it is complete.
  std::optional<Answer> advance();

 private:
  ForkedCall(pid_t child, Bond bond, zevo::FileDescriptor pipe);
  Answer finish();

  pid_t child_;
  Bond bond_;
  zevo::FileDescriptor pipe_;
  std::string received_;
};

}  // namespace cli
