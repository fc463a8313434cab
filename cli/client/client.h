// Calls of the API, whoever serves them.
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

// One call whose answer has not come yet. It goes on to its end, also when this object is gone.
class PendingCall {
 public:
  using Clock = std::chrono::steady_clock;

  // It is late at `limit` after `begin`.
  PendingCall(Link link, Clock::time_point begin, std::chrono::seconds limit);
  PendingCall(PendingCall&&) noexcept = default;
  PendingCall& operator=(PendingCall&&) noexcept = default;

  // Becomes readable whenever advance() has something to do.
  [[nodiscard]] int descriptor() const { return link_.connection.get(); }
  // Milliseconds until advance() has something to do in any case.
  [[nodiscard]] int patience() const;

  // Ends the process that serves it, where that is one of ours: of a read, nobody misses anything.
  void giveUp();

  // Takes what has come, without waiting; the answer once it is complete or late.
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
  // `word` goes with every call, and only root may have one. Who lets us wait for longer than
  // `limit` has not answered.
  Client(Transport& transport, calls::RootsWord word, std::chrono::seconds limit);

  // The call of a method of the module, with the object `parameters`.
  zevo::Result<PendingCall> begin(const std::string& method, const Json::Value& parameters);
  // The same, and waits for its answer.
  Answer call(const std::string& method, const Json::Value& parameters);

  // A resource of the host, such as "enable".
  Answer get(const std::string& resource);
  // `isWaiting` is called at first and then once a second, until the answer is there.
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
