// Reads the configurations of this server's services.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/tool_run.h"
#include "host/account_access.h"
#include "sdk/access/pam_verdict.h"
#include "services/process_files.h"
#include "services/process_table.h"

namespace zevo::access {

class Server {
 public:
  // `root` is the prefix of every path, "" for the system; tests have their own tree.
  explicit Server(std::string root = "", ToolLimits limits = {});
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  [[nodiscard]] std::string path(const std::string& absolute) const { return root_ + absolute; }
  // Whether there is a file, a directory or anything else.
  [[nodiscard]] bool has(const std::string& absolute) const;
  // The text of a configuration file. Nothing, with the reason in `*cause`, if it cannot be read.
  [[nodiscard]] std::optional<std::string> read(const std::string& absolute,
                                                std::string* cause) const;
  // The output of the program `arguments[0]`. Nothing, with the reason in `*cause`, if it does not
  // exist, fails or hangs. The same question again is answered as before, and a program that has
  // hung is not asked again: that would take its whole limit for each of many accounts.
  [[nodiscard]] std::optional<std::string> ask(const std::vector<std::string>& arguments,
                                               std::string* cause) const;

  // The titles of processes with this name that root started outside containers, each once.
  [[nodiscard]] std::vector<std::string> titles(const std::string& name) const;
  [[nodiscard]] bool runs(const std::string& name) const { return !titles(name).empty(); }
  // Why the processes `name` with `title`, which hides their arguments, may have another file than
  // `file`, which sets `ports`: there are several, or the one listens elsewhere. "" if neither.
  [[nodiscard]] std::string doubtOf(const std::string& name, const std::string& title,
                                    const std::string& file,
                                    const std::set<std::string>& ports) const;

  // How the account rules of a PAM service treat an expired account.
  [[nodiscard]] ServiceAccess askPam(const std::string& service, const std::string& pam) const;

 private:
  // Those with this name that root started outside containers.
  [[nodiscard]] std::vector<connections::ProcessFiles> daemons(const std::string& name) const;

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

// The parts of a result.
ServiceAccess refused(const std::string& service, const std::string& reason);
ServiceAccess notRead(const std::string& service, const std::string& cause);
// For the account that `cause` makes that of the users who log in without one.
ServiceAccess anonymous(const std::string& service, const std::string& cause);
ServiceAccess unknown(const std::string& service, const std::string& reason,
                      const std::string& remedy, const std::string& cause);

// For several servers of the same service, between which clients can choose: the one that lets the
// account in, otherwise an unknown one. Not empty.
ServiceAccess worstOf(const std::vector<ServiceAccess>& all);
// For the successive checks of a server, if it is not known which one decides: their common result,
// otherwise unknown with the reason of the first that does not refuse. Not empty.
ServiceAccess agreed(const std::vector<ServiceAccess>& all);

}  // namespace zevo::access
