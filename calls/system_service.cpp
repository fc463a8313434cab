#include "calls/system_service.h"

#include <chrono>
#include <filesystem>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

#include "calls/client_network.h"
#include "calls/pam_login.h"
#include "host/config.h"

namespace calls {
namespace {

constexpr std::chrono::seconds kLongestPam{60};

// A login in which PAM does not return ends with its process.
PamResult checkPasswordInTime(const std::string& name, const Secret& password,
                              const std::string& address) {
  const unsigned before = ::alarm(kLongestPam.count());
  PamResult result = checkPassword(name, password, address);
  ::alarm(before);
  return result;
}

LoginTools systemLoginTools(Accounts& accounts, Scoreboard& scoreboard) {
  const std::string file = zevo::config().sessionFile;
  return {accounts,
          &checkPasswordInTime,
          [file](const std::string& token) { return zevo::takeLoginLink(file, token); },
          [file](zevo::WebLogin* login) { return zevo::addWebLogin(file, login); },
          [](std::chrono::milliseconds time) { std::this_thread::sleep_for(time); },
          [&scoreboard](const std::string& address) { scoreboard.noteRefusal(clientOf(address)); },
          [&scoreboard](const std::string& address) { scoreboard.noteLogin(clientOf(address)); }};
}

std::filesystem::path folderOfProgram() {
  std::error_code failure;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", failure);
  return program.parent_path().parent_path() / "modules";
}

}  // namespace

zevo::LoginSearch SystemService::SessionFileLogins::find(const std::string& id,
                                                         zevo::WebLogin* login) {
  return zevo::findWebLogin(zevo::config().sessionFile, id, login);
}

void SystemService::SessionFileLogins::touch(const std::string& id) {
  zevo::touchWebLogin(zevo::config().sessionFile, id);
}

SystemService::SystemService(std::size_t slots, std::string loginKey)
    : scoreboard_(slots),
      accounts_(std::move(loginKey)),
      service_{modules_,
               scoreboard_,
               accounts_,
               logins_,
               systemLoginTools(accounts_, scoreboard_),
               zevo::config().sessionFile} {}

SystemService::~SystemService() = default;

bool SystemService::loadModules(const std::string& folder, std::string* error) {
  if (modules_.load(folder.empty() ? folderOfProgram() : std::filesystem::path(folder), error))
    return true;
  *error += folder.empty() ? "; reinstall currentconn" : "; set another module directory";
  return false;
}

}  // namespace calls
