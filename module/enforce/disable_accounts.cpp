#include "enforce/disable_accounts.h"

#include <cstdlib>

#include "zevo/error.h"
#include "zevo/local_account.h"
#include "zevo/string_list.h"

#include "api/privileged_section.h"

namespace {

enum AccountLine : int { kAccountEnterLine = 360, kAccountLeaveLine = 362 };

constexpr int kNameListSize = 512;
// The second day of 1970: expired by any clock.
constexpr long kExpiryDay = 1;

// An array of pointers from calloc, each released by `kRelease`.
template <typename Item, void (*kRelease)(Item*)>
class PointerArray {
 public:
  explicit PointerArray(std::size_t count)
      : count_(count), items_(static_cast<Item**>(std::calloc(count, sizeof(Item*)))) {}
  ~PointerArray() {
    for (std::size_t i = 0; items_ != nullptr && i < count_; ++i) {
      if (items_[i] != nullptr) kRelease(items_[i]);
    }
    std::free(items_);
  }
  PointerArray(const PointerArray&) = delete;
  PointerArray& operator=(const PointerArray&) = delete;

  [[nodiscard]] bool allocated() const { return items_ != nullptr; }
  [[nodiscard]] Item** items() const { return items_; }

 private:
  std::size_t count_;
  Item** items_;
};

// The account write may replace the set.
struct ResultSet {
  VLIBCMResult* result = VLIBCMResultAlloc();
  ResultSet() = default;
  ResultSet(const ResultSet&) = delete;
  ResultSet& operator=(const ResultSet&) = delete;
  ~ResultSet() { VLIBCMResultFree(result); }
};

struct NameList {
  VLIBCSzList* list = VLIBCSzListAlloc(kNameListSize);
  NameList() = default;
  NameList(const NameList&) = delete;
  NameList& operator=(const NameList&) = delete;
  ~NameList() { VLIBCSzListFree(list); }
};

void releaseNothing(void* /*item*/) {}

using Users = PointerArray<UserRecord, ZEVOUserFree>;
using Shadows = PointerArray<VLIBUserShadow, VLIBUserShadowFree>;
using Spares = PointerArray<void, releaseNothing>;

bool noSuchUser() {
  ZEVO_ERR_SET(ZEVO_ERR_NO_SUCH_USER);
  return false;
}

bool prepare(const std::string& name, NameList& names, UserRecord** user, VLIBUserShadow** shadow) {
  if (VLIBCSzListPush(&names.list, name.c_str()) < 0) return false;
  // As a C string, a name with a NUL in it would be another account, perhaps the caller's own.
  if (name.find('\0') != std::string::npos) return noSuchUser();
  if (ZEVOUserGet(name.c_str(), user) < 0) return false;
  if (*user == nullptr) return noSuchUser();
  return VLIBUserShadowAlloc(shadow, 1) >= 0 &&
         VLIBUserShadowExpiryDaySet(*shadow, kExpiryDay) >= 0;
}

bool writeAccounts(const NameList& names, const Users& users, const Shadows& shadows, int count,
                   ResultSet& result) {
  const PrivilegedSection section(kAccountEnterLine, kAccountLeaveLine);
  return ZEVOLocalAccountUserSet(names.list->pszItem, users.items(), shadows.items(), count,
                                 &result.result) >= 0;
}

}  // namespace

bool DisableUserAccounts(const std::list<std::string>& names) {
  if (names.empty()) return true;
  const std::size_t count = names.size();
  ResultSet resultSet;
  if (resultSet.result == nullptr) return false;
  NameList nameList;
  if (nameList.list == nullptr) return false;
  const Users users(count);
  const Shadows shadows(count);
  // Allocated with the others and left empty: the account write once took a third array.
  const Spares spares(count);
  if (!users.allocated() || !shadows.allocated() || !spares.allocated()) {
    ZEVO_ERR_SET(ZEVO_ERR_OUT_OF_MEMORY);
    return false;
  }
  std::size_t i = 0;
  for (const std::string& name : names) {
    if (!prepare(name, nameList, users.items() + i, shadows.items() + i)) return false;
    ++i;
  }
  return writeAccounts(nameList, users, shadows, static_cast<int>(count), resultSet);
}
