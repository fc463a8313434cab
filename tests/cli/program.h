// The built program, run with a module that gives scripted answers.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

#include <json/value.h>

namespace cli {

struct Outcome {
  int exitCode = -1;
  int signal = 0;  // that ended it, or 0
  std::string out;
  std::string err;
};

// An installation in a directory of its own: bin/currentconn, lib/ and modules/ with the fake
// module, and a configuration whose session file stands in it too. Removed at the end.
class Program {
 public:
  Program();
  ~Program();
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  [[nodiscard]] const std::filesystem::path& folder() const { return folder_; }
  [[nodiscard]] std::filesystem::path modulePath() const;

  // The module's answers to `method`, call by call; see the fake module for the format.
  void answer(const std::string& method, const std::vector<std::string>& answers);

  // How it was called so far, in that order.
  [[nodiscard]] std::vector<Json::Value> calls() const;

  // The command line that runs it with `arguments` and the configuration.
  [[nodiscard]] std::vector<std::string> commandLine(std::vector<std::string> arguments) const;

  // The environment in which it runs: LC_ALL and PATH only, and what the test adds.
  std::vector<std::string> environment;

  // Runs it to its end. `prepare` runs in the child, before the program.
  Outcome run(const std::vector<std::string>& arguments,
              const std::function<void()>& prepare = {}) const;

 private:
  std::filesystem::path folder_;
  Json::Value answers_;
};

// Replaces the process by `words` in `environment`; never returns.
[[noreturn]] void execute(const std::vector<std::string>& words,
                          const std::vector<std::string>& environment);

// The answer of a listing method with these rows in JSON.
std::string listAnswer(const std::vector<std::string>& rows, int total = -1);
// `answer` of a read that lacks connections of `service`, or what `code` means.
std::string incomplete(const std::string& answer, const std::string& service,
                       const std::string& code = "connections_missing");
// A row in JSON.
std::string row(int pid, const std::string& who, const std::string& type = "SSH",
                const std::string& from = "10.20.0.2", const std::string& descr = "pts/3",
                const std::string& time = "2026-11-20 21:26:24");

// A process that does nothing and ends with this.
class IdleProcess {
 public:
  IdleProcess();
  ~IdleProcess();
  IdleProcess(const IdleProcess&) = delete;
  IdleProcess& operator=(const IdleProcess&) = delete;

  [[nodiscard]] int pid() const { return pid_; }

 private:
  int pid_;
};

}  // namespace cli
