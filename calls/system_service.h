// The shared state of calls on this server, created from its configuration.
#pragma once

#include <string>

#include "calls/accounts.h"
#include "calls/call.h"
#include "calls/modules.h"
#include "calls/scoreboard.h"

namespace calls {

class SystemService {
 public:
  // `slots`: how many calls are served at once; `loginKey`: of the marks of passwords.
  SystemService(std::size_t slots, std::string loginKey);
  ~SystemService();
  SystemService(const SystemService&) = delete;
  SystemService& operator=(const SystemService&) = delete;

  // Loads the modules in the directory `folder`; if empty, in "../modules" relative to this
  // program's directory. False, with the remedy in *error too.
  bool loadModules(const std::string& folder, std::string* error);

  [[nodiscard]] const Service& service() const { return service_; }
  [[nodiscard]] Scoreboard& scoreboard() { return scoreboard_; }

 private:
  class SessionFileLogins : public Logins {
   public:
    zevo::LoginSearch find(const std::string& id, zevo::WebLogin* login) override;
    void touch(const std::string& id) override;
  };

  Modules modules_;
  Scoreboard scoreboard_;
  SystemAccounts accounts_;
  SessionFileLogins logins_;
  Service service_;
};

}  // namespace calls
