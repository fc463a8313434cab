// The accounts and groups of the system's name service.
#include <algorithm>
#include <cerrno>
#include <grp.h>
#include <shadow.h>
#include <vector>

#include "base/account_name.h"
#include "base/name_service.h"
#include "sdk/account_lookup.h"

namespace zevo {
namespace {

constexpr std::size_t kMostGroups = 65536;  // the kernel's NGROUPS_MAX
constexpr std::size_t kLargestEntry = 4UL * 1024 * 1024;

std::string textOf(const char* value) {
  return value != nullptr ? value : "";
}

// The enumeration of all accounts, of which the process has only one.
struct AccountWalk {
  AccountWalk() { ::setpwent(); }
  ~AccountWalk() { ::endpwent(); }
  AccountWalk(const AccountWalk&) = delete;
  AccountWalk& operator=(const AccountWalk&) = delete;
};

}  // namespace

int AccountSource::account(const std::string& name, std::optional<Account>* account) {
  account->reset();
  const auto answer = askForAccount(name);
  if (!answer.found) return answer.error;
  const passwd& entry = answer.entry;
  *account = Account{textOf(entry.pw_name), textOf(entry.pw_passwd), textOf(entry.pw_shell),
                     entry.pw_uid, entry.pw_gid};
  return 0;
}

int AccountSource::group(const std::string& name, std::optional<Group>* group) {
  group->reset();
  const auto answer =
      askNameService<::group>([&](::group* entry, char* texts, std::size_t size, ::group** found) {
        return ::getgrnam_r(name.c_str(), entry, texts, size, found);
      });
  // Otherwise a group of another source could be taken for the administrators' group although this
  // one exists.
  if (!answer.found) return answer.error != 0 ? answer.error : answer.doubt;
  Group read{answer.entry.gr_gid, {}};
  for (char** member = answer.entry.gr_mem; member != nullptr && *member != nullptr; ++member) {
    read.members.emplace(*member);
  }
  *group = std::move(read);
  return 0;
}

int AccountSource::shadow(const std::string& name, std::optional<ShadowFields>* shadow) {
  shadow->reset();
  if (!canBeAccountName(name)) return 0;
  const auto answer =
      askNameService<spwd>([&](spwd* entry, char* texts, std::size_t size, spwd** found) {
        return ::getspnam_r(name.c_str(), entry, texts, size, found);
      });
  if (!answer.found) return answer.error;
  const long day = answer.entry.sp_expire;
  *shadow = ShadowFields{textOf(answer.entry.sp_pwdp), day < 0 ? "" : std::to_string(day)};
  return 0;
}

int AccountSource::primaryMembers(gid_t group, std::set<std::string>* names) {
  const AccountWalk walk;
  std::vector<char> texts(1024);
  for (;;) {
    passwd entry{};
    passwd* found = nullptr;
    const int error = ::getpwent_r(&entry, texts.data(), texts.size(), &found);
    if (error == ERANGE && texts.size() < kLargestEntry) {
      texts.resize(texts.size() * 2);
      continue;
    }
    if (error == EINTR) continue;
    if (error == ENOENT || (error == 0 && found == nullptr)) return 0;
    if (error != 0) return error;
    if (found->pw_gid == group) names->insert(textOf(found->pw_name));
  }
}

bool AccountSource::isInGroup(const std::string& name, gid_t primary, gid_t group) {
  std::vector<gid_t> groups(64);
  auto count = static_cast<int>(groups.size());
  while (::getgrouplist(name.c_str(), primary, groups.data(), &count) < 0) {
    if (groups.size() >= kMostGroups) return false;
    groups.resize(groups.size() * 2);
    count = static_cast<int>(groups.size());
  }
  groups.resize(static_cast<std::size_t>(std::max(count, 0)));
  return std::find(groups.begin(), groups.end(), group) != groups.end();
}

AccountSource& AccountSource::system() {
  static AccountSource source;
  return source;
}

}  // namespace zevo
