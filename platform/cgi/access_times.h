// Which logins of a session file are in use.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>

#include "base/file_descriptor.h"
#include "cgi/session_record.h"

namespace zevo {

enum class Currency { kCurrent, kEnded, kUnknown };

// The folder of access times beside a session file: one file a login, whose time is that of its
// last use.
class AccessTimes {
 public:
  explicit AccessTimes(const std::string& sessionFile);

  // Of a login's record, as it was when this object was made. A view login ends on its date. Any
  // other has ended once it was not used within the configuration's idle limit, or its access time
  // is missing, or it began before the configuration's login limit. Unknown, with the last error
  // set, where the access time cannot be read: that says nothing about the login.
  [[nodiscard]] Currency currencyOf(json_object* record) const;
  // When a login was used last, in nanoseconds since 1970; 0 where that cannot be told.
  [[nodiscard]] std::int64_t lastUse(const char* id) const;
  // Makes now the access time of a login that has one. Another one stays without.
  void touch(const char* id) const;
  void remove(const char* id) const;
  // The folder; none where it cannot be read.
  [[nodiscard]] const FileDescriptor& folder() const { return folder_; }

 private:
  [[nodiscard]] Currency useOf(const char* id) const;

  std::string path_;
  FileDescriptor folder_;
  int folderError_;  // errno where there is no folder
  std::time_t now_;
};

}  // namespace zevo
