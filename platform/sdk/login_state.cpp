#include "sdk/login_state.h"

#include <cerrno>
#include <ctime>

#include "base/numbers.h"
#include "base/read_file.h"
#include "sdk/account_files.h"
#include "sdk/account_write.h"

namespace zevo {
namespace {

constexpr std::size_t kLongestShells = 1024UL * 1024;
constexpr long kSecondsADay = 86400;

}  // namespace

std::optional<FileFailure> readShells(const std::string& path, std::set<std::string>* shells) {
  std::string content;
  auto failure = readFile(path, kLongestShells, &content);
  if (failure && failure->error != ENOENT) return failure;
  *shells = failure ? std::set<std::string>() : parseShells(content);
  return std::nullopt;
}

bool isLoginShell(const std::set<std::string>& shells, const std::string& shell) {
  // Some systems include them in the list of shells.
  const std::string_view name = std::string_view(shell).substr(shell.rfind('/') + 1);
  if (name == "nologin" || name == "false") return false;
  return shells.empty() || shells.contains(shell.empty() ? "/bin/sh" : shell);
}

// Programs differ on whether an account's last day is the expiry day or the day before, and on the
// meaning of day 0. In doubt the account does not count.
bool isExpired(std::string_view expiryDay, long today) {
  if (expiryDay.empty()) return false;
  const auto day = parseNumber<long>(expiryDay);
  return !day || (*day >= 0 && *day <= today);
}

bool isLocked(std::string_view password) {
  return password.starts_with('!') || password.starts_with('*');
}

bool isLockedWithoutEntry(std::string_view password) {
  return password == "x" || password.starts_with('!');
}

LoginState loginStateOf(AccountSource& source, const std::string& shellsPath,
                        const std::string& name, long today) {
  LoginState unknown;
  unknown.isExpired = true;
  std::optional<Account> account;
  std::optional<ShadowFields> shadow;
  std::set<std::string> shells;
  if (source.account(name, &account) != 0 || !account) return unknown;
  if (source.shadow(name, &shadow) != 0 || readShells(shellsPath, &shells)) return unknown;
  LoginState state;
  state.hasLoginShell = isLoginShell(shells, account->shell);
  state.isExpired = shadow && isExpired(shadow->expiryDay, today);
  state.isLocked = shadow ? isLocked(shadow->password) : isLockedWithoutEntry(account->password);
  state.passwordField = shadow ? shadow->password : account->password;
  return state;
}

LoginState loginState(const UserRecord& user) {
  return loginStateOf(AccountSource::system(), AccountPaths().shells, user.name,
                      std::time(nullptr) / kSecondsADay);
}

}  // namespace zevo
