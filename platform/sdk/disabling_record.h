// What was done to the accounts that are disabled, kept until it is undone.
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
  std::string expiry;  // the field of the shadow entry before, as it stood there
  SambaBefore samba = SambaBefore::kNone;
  std::string by;    // who did it
  std::string from;  // at which terminal or address
  std::time_t when = 0;

  bool operator==(const Disabling&) const = default;
};

// By account name.
using Disablings = std::map<std::string, Disabling>;

// The file's syntax: one JSON object a line and account, with "user", "expiry", "samba" ("none",
// "enabled" or "disabled"), "by", "from" and "when" (seconds since 1970), and nothing else.
// Nothing, with *line the number of the first line that is no such object or names an account
// again, where the content is no record.
std::optional<Disablings> parseDisablings(std::string_view content, unsigned* line);
std::string textOf(const Disablings& disablings);

// The file "disabled" of a folder that only root can enter, locked as long as this lives.
class DisablingRecord {
 public:
  DisablingRecord(std::string folder, FileOperations& operations)
      : folder_(std::move(folder)), operations_(operations) {}

  // Makes the folder where it is missing, takes the lock and reads the file; a missing file is an
  // empty record. False with the last error set and noted, above all where the file is damaged: it
  // is then left as it is.
  bool open(std::chrono::milliseconds wait);
  // The same without a lock and without making anything.
  bool read();

  [[nodiscard]] const Disablings& disablings() const { return disablings_; }
  // Replaces the file by `disablings` and makes that durable. False with the last error set and
  // noted, the file as before. Only after open().
  bool write(const Disablings& disablings);

 private:
  std::string folder_;
  FileOperations& operations_;
  FileDescriptor lock_;
  Disablings disablings_;
};

}  // namespace zevo
