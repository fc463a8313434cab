// File operations of which exactly one fails.
#pragma once

#include <cerrno>

#include "base/atomic_file.h"

namespace zevo::testing_support {

enum class Operation { kNone, kWrite, kShortWrite, kFsync, kChown, kChmod, kRename, kSetXattr };

class FailingOperations : public FileOperations {
 public:
  FailingOperations(Operation which, int error) : which_(which), error_(error) {}

  ssize_t write(int file, const char* bytes, std::size_t size) override {
    // A disk that fills up takes a part first.
    if (which_ == Operation::kShortWrite && !wrotePart_ && size > 1) {
      wrotePart_ = true;
      return FileOperations::write(file, bytes, size / 2);
    }
    if (fails(Operation::kWrite) || (which_ == Operation::kShortWrite && fails(which_))) return -1;
    return FileOperations::write(file, bytes, size);
  }
  int fsync(int file) override {
    return fails(Operation::kFsync) ? -1 : FileOperations::fsync(file);
  }
  int fchown(int file, uid_t owner, gid_t group) override {
    return fails(Operation::kChown) ? -1 : FileOperations::fchown(file, owner, group);
  }
  int fchmod(int file, mode_t mode) override {
    return fails(Operation::kChmod) ? -1 : FileOperations::fchmod(file, mode);
  }
  int fsetxattr(int file, const char* name, const void* value, std::size_t size) override {
    return fails(Operation::kSetXattr) ? -1 : FileOperations::fsetxattr(file, name, value, size);
  }
  int rename(const char* from, const char* to) override {
    return fails(Operation::kRename) ? -1 : FileOperations::rename(from, to);
  }

 private:
  bool fails(Operation operation) {
    if (which_ != operation) return false;
    errno = error_;
    return true;
  }

  Operation which_;
  int error_;
  bool wrotePart_ = false;
};

}  // namespace zevo::testing_support
