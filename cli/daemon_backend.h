// The daemon of this server, asked over its local socket as whoever runs this program.
#pragma once

#include <chrono>
#include <string>

#include "backend.h"
#include "base/file_descriptor.h"

namespace cli {

class DaemonBackend : public Backend {
 public:
  // A daemon that lets us wait for longer than `limit` has not answered.
  DaemonBackend(std::string socketPath, std::chrono::seconds limit);

  // Whether root listens there: another account's answers would not be believed. The connection is
  // kept for the first call. Also true where whoever listens does not let us in: the call says so.
  [[nodiscard]] bool isThere();

  Answer call(const std::string& method, const Json::Value& parameters) override;
  // The daemon logs what it was asked.
  void noteUnanswered(const std::string& method, const Json::Value& parameters,
                      const Answer& answer) override;

 private:
  Answer failure(const char* operation) const;

  std::string socketPath_;
  std::chrono::seconds limit_;
  zevo::FileDescriptor connection_;  // not used yet
};

// The answer in what the daemon sent: header lines, an empty line, a JSON document.
Answer answerOfDaemon(const std::string& received);

}  // namespace cli
