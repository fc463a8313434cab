// Lines of files by their keys, without any file.
#pragma once

#include <map>
#include <string>

#include "fakes/calls.h"
#include "fakes/ids.h"
#include "fakes/refusals.h"

namespace fakes {

class KeyedFiles {
 public:
  KeyedFiles(Calls& calls, Ids& ids, Refusals& refusals)
      : calls_(calls), ids_(ids), refusals_(refusals) {}

  // Reads of `path` find `line`; of any other path, none.
  void add(const std::string& path, const std::string& line) { lines_[path] = line; }

  int read(const char* path, const char* key, char* buffer, int size, int flags);
  int remove(const char* path, const char* key, const char* value, int flags);

 private:
  Calls& calls_;
  Ids& ids_;
  Refusals& refusals_;
  std::map<std::string, std::string> lines_;
};

}  // namespace fakes
