// Determines which logins of a session file are in use.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>

#include "base/file_descriptor.h"
#include "cgi/session_record.h"

namespace zevo {

enum class Currency { kCurrent, kEnded, kUnknown };

// The directory of access times beside a session file: one file per login, with the time of its
// last use.
class AccessTimes {
 public:
  explicit AccessTimes(const std::string& sessionFile);

  // The state of a login at the time when this object was created. A view login ends on its date.
  // Any other has ended if it was not used within the configured idle limit, its access time is
  // missing, or it began before the configured login limit. Unknown, with the last error set, if
  // the access time cannot be read.
  [[nodiscard]] Currency currencyOf(json_object* record) const;
  // When a login was last used, in nanoseconds since 1970; 0 if unknown.
  [[nodiscard]] std::int64_t lastUse(const char* id) const;
  // Sets the access time of a login to now if it has one.
  void touch(const char* id) const;
  void remove(const char* id) const;
  // The directory; none if it cannot be read.
  [[nodiscard]] const FileDescriptor& folder() const { return folder_; }

 private:
  [[nodiscard]] Currency useOf(const char* id) const;

  std::string path_;
  FileDescriptor folder_;
  int folderError_;  // errno if there is no directory
  std::time_t now_;
};

}  // namespace zevo
