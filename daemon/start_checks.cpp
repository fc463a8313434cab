#include "daemon/start_checks.h"

#include <algorithm>
#include <optional>

#include "zevo/error_trail.h"
#include "zevo/session_file.h"

#include "base/read_file.h"
#include "calls/pam_login.h"
#include "host/config.h"
#include "host/web_login.h"

namespace currentconnd {
namespace {

constexpr std::size_t kLongestService = 1024UL * 1024;

std::optional<zevo::FileFailure> readService(const std::string& folder) {
  std::string content;
  return zevo::readFile(folder + "/" + calls::kPamService, kLongestService, &content);
}

}  // namespace

bool prepareSessionFile(std::string* key, std::string* error) {
  const std::string& path = zevo::config().sessionFile;
  zevo::clearErrorTrail();
  const bool isThere = zevo::checkSessionFile(path) && ZEVOCgiSessionFileCreate(path.c_str()) == 0;
  const auto found = isThere ? zevo::loginKey(path) : std::nullopt;
  *key = found.value_or("");
  if (found) return true;
  const auto causes = zevo::errorTrail();
  *error =
      zevo::configProblem("session_file", causes.empty() ? "cannot create " + path : causes.back());
  return false;
}

bool checkPamFolder(std::string* error) {
  const std::string& folder = zevo::config().pamFolder;
  if (folder.empty()) return true;
  const auto failure = readService(folder);
  if (!failure) return true;
  *error = zevo::configProblem("pam_folder", failure->text() +
                                                 "; install the PAM service there, or set "
                                                 "pam_folder to \"\" for the system's directories");
  return false;
}

bool hasPamService(const std::vector<std::string>& folders) {
  return std::any_of(folders.begin(), folders.end(),
                     [](const std::string& folder) { return !readService(folder); });
}

}  // namespace currentconnd
