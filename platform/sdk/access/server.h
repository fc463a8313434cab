// Where the configurations of this server's services are read.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/tool_run.h"
#include "host/account_access.h"
#include "sdk/access/pam_verdict.h"
#include "services/process_table.h"

namespace zevo::access {

class Server {
 public:
  // `root` goes before every path, "" for the system's own: a test has a tree of its own.
  explicit Server(std::string root = "", ToolLimits limits = {});
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  [[nodiscard]] std::string path(const std::string& absolute) const { return root_ + absolute; }
  // Whether there is a file, a folder or anything else.
  [[nodiscard]] bool has(const std::string& absolute) const;
  // The text of a configuration file. Nothing, with `*cause` saying why, where it cannot be read.
  [[nodiscard]] std::optional<std::string> read(const std::string& absolute,
                                                std::string* cause) const;
  // What the program `arguments[0]` prints. Nothing, with `*cause` saying why, where it is not
  // there, fails or hangs. The same question again is answered as before, and a program that has
  // hung is not asked again: that would take its whole limit for each of many accounts.
  [[nodiscard]] std::optional<std::string> ask(const std::vector<std::string>& arguments,
                                               std::string* cause) const;

  // What the processes of this name that root started, other than those of containers, call
  // themselves, each once.
  [[nodiscard]] std::vector<std::string> titles(const std::string& name) const;
  [[nodiscard]] bool runs(const std::string& name) const { return !titles(name).empty(); }

  // What the account rules of a PAM service do with an expired account.
  [[nodiscard]] ServiceAccess askPam(const std::string& service, const std::string& pam) const;

 private:
  struct Asked {
    std::vector<std::string> arguments;
    ToolResult result;
  };

  std::string root_;
  ToolLimits limits_;
  mutable std::map<std::string, Asked> asked_;  // by the program; its last question
  connections::Paths paths_;
  connections::ProcessTable processes_;
};

// The parts that a result is made of.
ServiceAccess refused(const std::string& service, const std::string& reason);
ServiceAccess notRead(const std::string& service, const std::string& cause);
ServiceAccess unknown(const std::string& service, const std::string& reason,
                      const std::string& remedy, const std::string& cause);

// Of servers of the same service, of which a client takes whichever it likes: the one that lets in,
// else one that is unknown. Not empty.
ServiceAccess worstOf(const std::vector<ServiceAccess>& all);
// Of checks that a server makes one after the other, where it is not known which one settles it:
// what they agree on, else unknown for the reason of the first that does not refuse. Not empty.
ServiceAccess agreed(const std::vector<ServiceAccess>& all);

}  // namespace zevo::access
