// The outcome of a call. The last recorded one counts.
#pragma once

#include <memory>
#include <string>

#include <json/value.h>

#include "zevo/export.h"

namespace ZEVO {

class ZEVO_EXPORT APIResponse {
 public:
  APIResponse();
  ~APIResponse();
  APIResponse(const APIResponse&) = delete;
  APIResponse& operator=(const APIResponse&) = delete;

  // For handlers: `data` is converted to JSON text at once, so that a large result is never in
  // memory twice as a tree.
  void SetSuccess(const Json::Value& data);
  // `code` is not 0.
  void SetError(int code, const Json::Value& data);
  // false: the handler writes its own answer, including header lines, to standard output.
  void SetEnableOutput(bool enable);

  // For hosts: what was recorded.
  [[nodiscard]] bool HasOutcome() const;
  [[nodiscard]] bool IsOutputEnabled() const;
  // 0 on success.
  [[nodiscard]] int ErrorCode() const;
  // The outcome's data as compact JSON text without a line break at its end; empty before an
  // outcome is recorded.
  [[nodiscard]] const std::string& DataText() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace ZEVO
