// A session file of any length, in a directory of its own.
#pragma once

#include <cstddef>
#include <list>
#include <string>

#include "enforce/http_kick.h"

namespace bench {

// The directory is made where $TMPDIR says, else in /dev/shm: session files live in /run, which is
// memory as well. It goes with this. The platform's configuration names the file, so that the
// module locks there.
class SessionFile {
 public:
  SessionFile();
  ~SessionFile();
  SessionFile(const SessionFile&) = delete;
  SessionFile& operator=(const SessionFile&) = delete;

  [[nodiscard]] const std::string& folder() const { return folder_; }
  [[nodiscard]] const std::string& path() const { return path_; }

  // Fills the file with `lines` logins, each of an address of its own, and makes the files of
  // access time of those that requests(lines, count) ask for. Returns the file's text.
  std::string fill(std::size_t lines, std::size_t count) const;
  [[nodiscard]] std::size_t lines() const;

  // Requests for `count` of the logins, evenly spread.
  static std::list<HttpKickSession> requests(std::size_t lines, std::size_t count);

 private:
  std::string folder_;
  std::string path_;
};

}  // namespace bench
