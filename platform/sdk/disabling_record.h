// The record of disabled accounts, kept until they are enabled.
#pragma once

#include <chrono>
#include <ctime>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "base/atomic_file.h"
#include "base/file_descriptor.h"

namespace zevo {

// The flag of an account's entry in Samba's database before it was disabled.
enum class SambaBefore { kNone, kEnabled, kDisabled };

struct Disabling {
  std::string expiry;  // the earlier field of the shadow entry, unchanged
  SambaBefore samba = SambaBefore::kNone;
  std::string by;    // who disabled it
  std::string from;  // from which terminal or address
  std::time_t when = 0;

  bool operator==(const Disabling&) const = default;
};

// By account name.
using Disablings = std::map<std::string, Disabling>;

// The syntax of the file: one JSON object per line and account, with "user", "expiry", "samba"
// ("none", "enabled" or "disabled"), "by", "from" and "when" (seconds since 1970), and nothing
// else. Nothing, with the number of the first line that is invalid or repeats an account in *line,
// if the content is not a record.
std::optional<Disablings> parseDisablings(std::string_view content, unsigned* line);
std::string textOf(const Disablings& disablings);

// The file "disabled" in a directory that only root can enter, locked for the lifetime of this
// object.
class DisablingRecord {
 public:
  DisablingRecord(std::string folder, FileOperations& operations)
      : folder_(std::move(folder)), operations_(operations) {}

  // Creates the directory if it does not exist, takes the lock and reads the file; a missing file
  // is an empty record. False, with the last error set and noted, on failure, in particular if the
  // file is damaged; it is then left unchanged.
  bool open(std::chrono::milliseconds wait);
  // The same without a lock and without creating anything.
  bool read();

  [[nodiscard]] const Disablings& disablings() const { return disablings_; }
  // Replaces the file by `disablings` and synchronises it. False, with the last error set and noted
  // and the file unchanged, on failure. Only after open().
  bool write(const Disablings& disablings);

 private:
  std::string folder_;
  FileOperations& operations_;
  FileDescriptor lock_;
  Disablings disablings_;
};

}  // namespace zevo
