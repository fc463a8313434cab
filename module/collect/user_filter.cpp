#include "collect/user_filter.h"

#include <cstdint>
#include <map>
#include <memory>

#include "zevo/account.h"

#include "api/log.h"

namespace {

constexpr std::uint32_t kFirstHiddenUid = 100000;
constexpr std::uint32_t kHiddenUids = 200000;
constexpr std::uint32_t kUnknownUid = UINT32_MAX;

struct FreeUser {
  void operator()(UserRecord* user) const { ZEVOUserFree(user); }
};

std::uint32_t uidOf(const std::string& name) {
  UserRecord* record = nullptr;
  const int result = ZEVOUserGet(name.c_str(), &record);
  const std::unique_ptr<UserRecord, FreeUser> user(record);
  if (result < 0 || !user) {
    syslog(kLogError, "%s:%d ZEVOUserGet failed, user=%s", kLogSource, 726, name.c_str());
    return kUnknownUid;
  }
  return user->uid;
}

// One unsigned comparison: below the range, and for kUnknownUid, the difference wraps far beyond
// its length.
bool isHidden(std::uint32_t uid) {
  return uid - kFirstHiddenUid < kHiddenUids;
}

}  // namespace

bool SessionListUidFilter(SessionList& list) {
  std::map<std::string, unsigned> uids;
  list.remove_if([&](const Session& session) {
    if (session.who.empty()) return false;
    auto known = uids.find(session.who);
    if (known == uids.end()) known = uids.emplace(session.who, uidOf(session.who)).first;
    return isHidden(known->second);
  });
  return true;
}
