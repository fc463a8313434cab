#include "fakes/temporary_file.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

#include <gtest/gtest.h>

namespace fakes {

TemporaryFile::TemporaryFile(const std::string& content)
    : path_(::testing::TempDir() + "currentconn-XXXXXX") {
  const int descriptor = mkstemp(path_.data());
  EXPECT_NE(descriptor, -1) << path_;
  EXPECT_EQ(write(descriptor, content.data(), content.size()),
            static_cast<ssize_t>(content.size()));
  close(descriptor);
}

// unlink() is the double's.
TemporaryFile::~TemporaryFile() {
  std::remove(path_.c_str());
}

}  // namespace fakes
