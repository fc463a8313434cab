#include "zevo/local_account.h"

#include <ctime>
#include <string>
#include <vector>

#include "zevo/config.h"
#include "zevo/error_trail.h"

#include "sdk/account_write.h"

namespace zevo {
namespace {

constexpr std::time_t kSecondsOfADay = 24L * 60 * 60;

AccountDatabase systemDatabase() {
  AccountDatabase database;
  database.administratorsGroup = config().administratorsGroup;
  database.minAdmins = config().minAdmins;
  database.today = std::time(nullptr) / kSecondsOfADay;
  return database;
}

// The error that was set.
int set(char** names, UserRecord** users, VLIBUserShadow** shadows, int count) {
  std::vector<AccountChange> changes;
  for (int i = 0; i < count; ++i) {
    if (names == nullptr || names[i] == nullptr || shadows == nullptr || shadows[i] == nullptr) {
      ZEVO_NOTE_ERROR(ZEVO_ERR_NO_SUCH_USER, "an account of the batch has no name or no change");
      return ZEVO_ERR_NO_SUCH_USER;
    }
    // Also where root's entry in the files has another name than the name service gives.
    if (users != nullptr && users[i] != nullptr && users[i]->uid == 0) {
      ZEVO_NOTE_ERROR(ZEVO_ERR_TOO_FEW_ADMINISTRATORS, "root's account is never changed");
      return ZEVO_ERR_TOO_FEW_ADMINISTRATORS;
    }
    changes.push_back({names[i], *shadows[i]});
  }
  return writeShadow(systemDatabase(), changes);
}

}  // namespace
}  // namespace zevo

extern "C" int ZEVOLocalAccountUserSet(char** names, UserRecord** users, VLIBUserShadow** shadows,
                                       int count, VLIBCMResult** result) {
  const int code = zevo::set(names, users, shadows, count);
  if (result != nullptr && *result != nullptr) {
    // All or none: what stopped one stopped all.
    (*result)->codes.assign(static_cast<std::size_t>(count > 0 ? count : 0), code);
  }
  return code == ZEVO_ERR_NONE ? 0 : -1;
}
