#include "fakes/keyed_files.h"

#include <cstdio>

#include "zevo/keyed_file.h"

#include "fakes/allocation.h"
#include "fakes/platform.h"

extern "C" {

int VLIBCFileGetLine(const char* path, const char* key, char* buffer, int size, int flags) {
  const fakes::AllocationPause pause;
  return fakes::Platform::current("VLIBCFileGetLine")
      .keyedFiles.read(path, key, buffer, size, flags);
}

int VLIBCFileSetLine(const char* path, const char* key, const char* value, int flags) {
  const fakes::AllocationPause pause;
  return fakes::Platform::current("VLIBCFileSetLine").keyedFiles.remove(path, key, value, flags);
}

}  // extern "C"

namespace fakes {

int KeyedFiles::read(const char* path, const char* key, char* buffer, int size, int flags) {
  calls_.record(std::string("VLIBCFileGetLine(") + path + ", " + key + ", " + std::to_string(size) +
                ", " + std::to_string(flags) + ")");
  const auto found = lines_.find(path);
  if (found == lines_.end()) return -1;
  std::snprintf(buffer, static_cast<std::size_t>(size), "%s", found->second.c_str());
  return static_cast<int>(found->second.size());
}

int KeyedFiles::remove(const char* path, const char* key, const char* value, int flags) {
  calls_.record(std::string("VLIBCFileSetLine(") + path + ", " + key + ", " +
                (value != nullptr ? value : "null") + ", " + std::to_string(flags) + ") as " +
                ids_.text());
  return refusals_.errorOfNextCall("VLIBCFileSetLine") == 0 ? 1 : -1;
}

}  // namespace fakes
