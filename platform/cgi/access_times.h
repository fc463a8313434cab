// Which logins of a session file are in use.
#pragma once

#include <ctime>
#include <string>

#include "base/file_descriptor.h"

namespace zevo {

// The folder of access times beside a session file: one file a login, whose time is that of its
// last use.
class AccessTimes {
 public:
  explicit AccessTimes(const std::string& sessionFile);

  // Whether the login was used within the configuration's idle limit, as it was when this object
  // was made; one without a file was not.
  [[nodiscard]] bool isCurrent(const char* id) const;
  // Makes now the access time of a login that has one. Another one stays without.
  void touch(const char* id) const;
  void remove(const char* id) const;
  // The folder; none where it cannot be read.
  [[nodiscard]] const FileDescriptor& folder() const { return folder_; }

 private:
  FileDescriptor folder_;
  std::time_t oldest_;
};

}  // namespace zevo
