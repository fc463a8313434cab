#include "module_backend.h"

#include <cerrno>
#include <cstdio>
#include <dlfcn.h>
#include <exception>
#include <filesystem>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "zevo/api_request.h"
#include "zevo/api_response.h"
#include "zevo/disabled_accounts.h"
#include "zevo/error_trail.h"
#include "zevo/read_notes.h"
#include "zevo/session_file.h"

#include "base/file_failure.h"
#include "base/trusted_library.h"

namespace cli {
namespace {

constexpr const char* kApi = "ZEVO.Core.CurrentConnection";
constexpr std::int64_t kVersion = 1;

Answer readAnswer(const ZEVO::APIResponse& response) {
  Answer answer;
  if (!response.IsOutputEnabled()) {
    answer.status = Answer::Status::kOwnOutput;
    return answer;
  }
  if (!response.HasOutcome()) return failedAnswer("the module gave no answer");
  answer.code = response.ErrorCode();
  if (answer.code == 0) {
    answer.status = Answer::Status::kDone;
    answer.data = response.DataText();
    answer.warnings = zevo::readNotes();
    const auto accounts = zevo::accountNotes();
    answer.warnings.insert(answer.warnings.end(), accounts.begin(), accounts.end());
  } else {
    answer.status = Answer::Status::kRefused;
    answer.causes = zevo::errorTrail();
    for (const zevo::ReadNote& note : zevo::accountNotes()) answer.causes.push_back(note.detail);
  }
  return answer;
}

Answer runHandler(ApiHandler handler, ZEVO::RequestContext context) {
  zevo::clearErrorTrail();
  zevo::clearReadNotes();
  zevo::clearAccountNotes();
  ZEVO::APIRequest request(std::move(context));
  ZEVO::APIResponse response;
  try {
    handler(&request, &response);
  } catch (const std::exception& error) {
    return failedAnswer(std::string("the module gave up: ") + error.what());
  }
  // What a handler printed must be out before anything that this program writes.
  if (std::fflush(stdout) != 0) {
    return failedAnswer("cannot write to standard output: " + zevo::errorText(errno));
  }
  return readAnswer(response);
}

}  // namespace

ModuleBackend::ModuleBackend(std::string modulePath, std::string sessionFile, Caller caller)
    : modulePath_(std::move(modulePath)),
      sessionFile_(std::move(sessionFile)),
      caller_(std::move(caller)) {}

Answer ModuleBackend::call(const std::string& method, const Json::Value& parameters) {
  std::string cause;
  if (!load(&cause)) return failedAnswer(std::move(cause));
  const ApiHandler handler = find(method);
  if (!handler)
    return failedAnswer(modulePath_ + " has no method \"" + method + "\": reinstall currentconn");
  zevo::clearErrorTrail();
  if (ZEVOCgiSessionFileCreate(sessionFile_.c_str()) != 0) {
    Answer answer = failedAnswer("the session file " + sessionFile_ + " cannot be created");
    for (std::string& note : zevo::errorTrail()) answer.causes.push_back(std::move(note));
    return answer;
  }
  ZEVO::RequestContext context;
  context.loginUserName = caller_.loginUserName;
  context.isAdmin = caller_.isAdmin;
  context.sessionFilePath = sessionFile_;
  context.parameters = parameters;
  const Expiries before = expiriesOf(method, parameters);
  Answer answer = runHandler(handler, std::move(context));
  if (answer.status != Answer::Status::kFailed) log(method, parameters, answer, before);
  return answer;
}

void ModuleBackend::noteUnanswered(const std::string& method, const Json::Value& parameters,
                                   const Answer& answer) {
  log(method, parameters, answer, {});
}

void ModuleBackend::log(const std::string& method, const Json::Value& parameters,
                        const Answer& answer, const Expiries& before) const {
  if (!isEnforcing(method)) return;
  logEnforcement(askerOf(caller_.loginUserName), method, parameters, answer, before);
}

bool ModuleBackend::load(std::string* cause) {
  if (table_) return true;
  if (access(modulePath_.c_str(), F_OK) != 0) {
    *cause = "the module " + modulePath_ + " is missing: reinstall currentconn";
    return false;
  }
  std::string reason;
  void* module = zevo::loadTrustedLibrary(modulePath_, &reason);
  if (!module) {
    *cause = "the module cannot be loaded, reinstall currentconn: " + reason;
    return false;
  }
  void* symbol = dlsym(module, kGetAPITableName);
  const auto getTable = reinterpret_cast<GetAPITableFunction>(symbol);
  table_ = getTable ? getTable() : nullptr;
  if (!table_) *cause = modulePath_ + " offers no methods: reinstall currentconn";
  return table_ != nullptr;
}

ApiHandler ModuleBackend::find(const std::string& method) const {
  for (const ApiMethodRow* row = table_; row->api; ++row) {
    if (std::string_view(row->api) == kApi && row->version == kVersion && method == row->method) {
      return row->handler;
    }
  }
  return nullptr;
}

std::string modulePathOfProgram(std::string* cause) {
  std::error_code error;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error) {
    *cause = "cannot find out where currentconn is installed, /proc/self/exe: " + error.message() +
             ": mount /proc";
    return "";
  }
  const std::filesystem::path folder = program.parent_path().parent_path() / "modules";
  return (folder / "ZEVO.Core.CurrentConnection.so").string();
}

}  // namespace cli
