// Writes to a descriptor, completely or with a reason.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace cli {

enum class Written {
  kAll,
  kReaderGone,  // the reader closed the pipe: not a failure, nothing to report
  kFailed,      // `*cause` has the reason
};

// Writes the whole of `text` to `descriptor`. From the first call on, a closed reader does not end
// the process.
Written writeAll(int descriptor, std::string_view text, std::string* cause = nullptr);

// Opens the null device for each closed descriptor among 0, 1 and 2, so that no file takes its
// place. Writing to a standard output that was closed still fails.
void occupyStandardDescriptors();

// Writes "currentconn: " and the first of `lines` to standard error, the others below it with an
// indent; without control characters.
void complain(const std::vector<std::string>& lines);
void complain(const std::string& line);

}  // namespace cli
