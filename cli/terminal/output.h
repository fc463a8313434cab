// Writing to a descriptor, whole or with a reason.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace cli {

enum class Written {
  kAll,
  kReaderGone,  // nobody reads the pipe any more: no failure, and nothing to tell anybody
  kFailed,      // `*cause` says why
};

// Writes the whole of `text` to `descriptor`. From the first call on, a reader that goes away does
// not end the process.
Written writeAll(int descriptor, std::string_view text, std::string* cause = nullptr);

// Opens the null device for each of the descriptors 0, 1 and 2 that is closed, so that no file
// takes their place. Writes to a standard output that was closed still fail.
void occupyStandardDescriptors();

// Writes "currentconn: " and the first of `lines` to standard error, the others below it with an
// indent; no line with a character that a terminal obeys.
void complain(const std::vector<std::string>& lines);
void complain(const std::string& line);

}  // namespace cli
