// The module in this process, found through its exported table as every host finds it.
#pragma once

#include <string>

#include "zevo/api_table.h"

#include "backend.h"
#include "enforcement_log.h"

namespace cli {

// Who is asking.
struct Caller {
  std::string loginUserName;
  bool isAdmin = false;
};

class ModuleBackend : public Backend {
 public:
  // The module at `modulePath` is loaded by the first call and stays for the life of the process.
  // The session file is created where it is missing.
  ModuleBackend(std::string modulePath, std::string sessionFile, Caller caller);

  // Each answered call of a method that changes something leaves a line in the authorisation log.
  Answer call(const std::string& method, const Json::Value& parameters) override;
  void noteUnanswered(const std::string& method, const Json::Value& parameters,
                      const Answer& answer) override;

 private:
  void log(const std::string& method, const Json::Value& parameters, const Answer& answer,
           const Expiries& before) const;
  bool load(std::string* cause);
  ApiHandler find(const std::string& method) const;

  std::string modulePath_;
  std::string sessionFile_;
  Caller caller_;
  const ApiMethodRow* table_ = nullptr;
};

// The module that belongs to the running program: "../modules/" from the folder of its executable.
// Empty, with `*cause` set, where that folder cannot be found out.
std::string modulePathOfProgram(std::string* cause);

}  // namespace cli
