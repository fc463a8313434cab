// What still lets an account in, and what it left running. Both functions may throw std::bad_alloc.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

#include "zevo/export.h"

namespace zevo {

enum class Access {
  kRefused,
  kLetIn,
  kUnknown,
};

// What one service does with an account whose shadow entry has expired. It has keys, for which the
// clients have texts.
//
// Reasons, with their values:
//   kRefused  account-rules     PAM's account rules refuse it       pam: the PAM service
//             own-check         the server looks at the expiry itself
//             no-local-logins   no account of the system logs in    file
//             samba-disabled    Samba's own entry is disabled
//             no-samba-entry    Samba has no entry for it
//   kLetIn    rules-pass        PAM's account rules let it pass     pam
//             expiry-ignored    the server's own check overlooks    cause: the module
//                               the expiry
//             samba-database    Samba asks its own entries alone    file: of its configuration,
//                                                                   "" for the usual one
//             anonymous         users without an account are        cause: the setting
//                               logged in as it
//   kUnknown  rules-unclear     PAM's account rules decide          pam, cause: module, or what
//                                                                   failed
//             own-users         the server has users of its own     cause: where it has them from
//             keys-unchecked    a key or certificate of an expired   cause: the directive
//                               account suffices to log in
//             domain-accounts   the accounts are a domain's
//             other-check       the server's way to check is not one that we know   cause
//             not-read          the configuration cannot be read    cause
struct ServiceAccess {
  std::string service;  // "ssh", "vsftpd", "proftpd", "pure-ftpd", "telnet", "console", "samba",
                        // "afp", "page"
  Access access = Access::kUnknown;
  std::string reason;
  // "" if refused; otherwise the remedy: add-account-check (pam), ask-pam-alone (and not the
  // server's own check), disable-anonymous, disable-in-samba, disable-in-domain, remove-own-user,
  // remove-keys, try-login.
  std::string remedy;
  std::map<std::string, std::string> values;

  bool operator==(const ServiceAccess&) const = default;
};

enum class AccessMoment {
  kNow,           // as the account is now, but with an expired shadow entry
  kOnceDisabled,  // as it will be once ZEVOLocalAccountUserSet has disabled it
};

// The services of this server, as their configurations are now: SSH, the FTP servers, Telnet, the
// console and the page where they are installed, since an inetd or a socket may start them; Samba
// and AFP where they run. Empty for a name that is no account with a line of its own in the shadow
// file; each name of `accounts` has its element. It asks `sshd -T`, `testparm` and `pdbedit`, each
// for the configuration's tool limit at most; one that hangs is not asked again for the next
// account. Needs effective uid 0.
ZEVO_EXPORT std::map<std::string, std::vector<ServiceAccess>> accountAccess(
    const std::vector<std::string>& accounts, AccessMoment moment);

// What the account left running.
struct LeftRunning {
  std::optional<uid_t> uid = {};  // the account's; nothing if there is none
  // Processes with the account as their real user, and those in user namespaces that it created,
  // without zombies. In a container that root created the id is not this account's.
  std::size_t processes = 0;
  // Those of them with another real user or process namespace than the account's processes outside
  // its own namespaces.
  std::vector<pid_t> apart = {};
  bool hasCrontab = false;
  std::size_t atJobs = 0;

  bool operator==(const LeftRunning&) const = default;
};

// Of each of `accounts`, from one look at all processes; nothing left for a name that is no
// account. `except`: processes that do not count, nor do those below them: the sessions whose end
// is another matter.
ZEVO_EXPORT std::map<std::string, LeftRunning> leftRunning(const std::vector<std::string>& accounts,
                                                           const std::vector<pid_t>& except);

}  // namespace zevo
