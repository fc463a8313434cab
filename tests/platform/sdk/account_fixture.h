// Account files of its own for one test.
#pragma once

#include <string>
#include <sys/stat.h>
#include <vector>

#include <gtest/gtest.h>

#include "platform/base/temporary_folder.h"
#include "sdk/account_write.h"

namespace zevo::testing_support {

// Two administrators, ann and ben; one user, cid.
class AccountFixture : public testing::Test {
 protected:
  AccountFixture() {
    database_.paths = {
        folder_.write("passwd",
                      "root:x:0:0::/root:/bin/bash\nann:x:1001:1001::/home/ann:/bin/bash\n"
                      "ben:x:1002:1002::/home/ben:/bin/bash\ncid:x:1003:1003::/home/cid:/bin/bash\n"
                      "web:x:33:33::/var/www:/usr/sbin/nologin\n"),
        folder_.write("group", "sudo:x:27:ann,ben,web\n"), folder_.write("shadow", kShadow),
        folder_.write("shells", "/bin/bash\n"), folder_.file(".pwd.lock")};
    database_.today = 20000;
  }

  static AccountChange expiry(const std::string& name, long day) {
    AccountChange change{name, {}};
    change.shadow.expiryDay = day;
    return change;
  }
  int disable(const std::vector<std::string>& names) const {
    std::vector<AccountChange> changes;
    for (const std::string& name : names) changes.push_back(expiry(name, 1));
    return writeShadow(database_, changes);
  }
  [[nodiscard]] std::string shadow() const { return contentOf(database_.paths.shadow); }

  static constexpr const char* kShadow =
      "root:$y$root:19000:0:99999:7:::\nann:$y$ann:19000:0:99999:7:::\nben:$y$ben:19000:0:99999:7::"
      "30000:\n"
      "cid:$y$cid:19000:0:99999:7:::\nweb:*:19000:0:99999:7:::\n";

  TemporaryFolder folder_;
  AccountDatabase database_;
};

}  // namespace zevo::testing_support
