// Who can change a file, from its owner and mode. A file that root trusts belongs to root or to the
// process's own user, and nobody else can write it.
#pragma once

#include <sys/stat.h>
#include <unistd.h>

namespace zevo {

inline bool belongsToUsOrRoot(const struct stat& status) {
  return status.st_uid == 0 || status.st_uid == ::geteuid();
}

inline bool canOthersWrite(const struct stat& status) {
  return (status.st_mode & (S_IWGRP | S_IWOTH)) != 0;
}

// Whether others can remove or rename what is in the folder and not theirs.
inline bool canOthersReplaceIn(const struct stat& folder) {
  return canOthersWrite(folder) && (folder.st_mode & S_ISVTX) == 0;
}

}  // namespace zevo
