// Calls of the API, through any transport.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <sys/types.h>

#include <json/value.h>

#include "base/file_descriptor.h"
#include "base/result.h"
#include "calls/http_request.h"
#include "cli/client/answer.h"
#include "cli/client/transport.h"

namespace cli {

// One call whose answer has not arrived yet. It is completed even if this object is destroyed.
class PendingCall {
 public:
  using Clock = std::chrono::steady_clock;

  // It times out at `limit` after `begin`.
  PendingCall(Link link, Clock::time_point begin, std::chrono::seconds limit);
  PendingCall(PendingCall&&) noexcept = default;
  PendingCall& operator=(PendingCall&&) noexcept = default;

  // Becomes readable whenever advance() has something to do.
  [[nodiscard]] int descriptor() const { return link_.connection.get(); }
  // Milliseconds until advance() has something to do in any case.
  [[nodiscard]] int timeout() const;

  // Ends the process that serves it, if it is a child: nothing is lost if a read is ended.
  void giveUp();

  // Takes what has arrived, without waiting; returns the answer once it is complete or has timed
  // out.
  std::optional<Answer> advance();

 private:
  Answer finish();

  Link link_;
  Clock::time_point begin_;
  std::chrono::seconds limit_;
  std::string received_;
};

class Client {
 public:
  // `word` is sent with every call; only root may have one. A call without an answer within `limit`
  // has failed.
  Client(Transport& transport, calls::RootsWord word, std::chrono::seconds limit);

  // The call of a method of the module, with the object `parameters`.
  zevo::Result<PendingCall> begin(const std::string& method, const Json::Value& parameters);
  // The same, but waits for its answer.
  Answer call(const std::string& method, const Json::Value& parameters);

  // A resource of the host, such as "enable".
  Answer get(const std::string& resource);
  // `isWaiting` is called at once and then once a second until the answer arrives.
  Answer post(const std::string& resource, const Json::Value& parameters,
              const std::function<void()>& isWaiting = {});

 private:
  zevo::Result<PendingCall> send(const std::string& httpMethod, const std::string& path,
                                 const std::string& body);
  Answer wait(zevo::Result<PendingCall> call, const std::function<void()>& isWaiting = {});

  Transport& transport_;
  calls::RootsWord word_;
  std::chrono::seconds limit_;
};

}  // namespace cli
