#include "module/captured_output.h"

#include <cstdio>
#include <sys/mman.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace module_test {

CapturedOutput::CapturedOutput()
    : file_(memfd_create("output", MFD_CLOEXEC)), standardOutput_(dup(STDOUT_FILENO)) {
  std::fflush(stdout);
  EXPECT_NE(dup2(file_, STDOUT_FILENO), -1);
}

CapturedOutput::~CapturedOutput() {
  restore();
  close(file_);
}

void CapturedOutput::restore() {
  if (standardOutput_ == -1) return;
  std::fflush(stdout);
  dup2(standardOutput_, STDOUT_FILENO);
  close(standardOutput_);
  standardOutput_ = -1;
}

std::string CapturedOutput::text() {
  restore();
  lseek(file_, 0, SEEK_SET);
  std::string text;
  char buffer[65536];
  for (ssize_t size = 0; (size = read(file_, buffer, sizeof buffer)) > 0;)
    text.append(buffer, static_cast<std::size_t>(size));
  return text;
}

}  // namespace module_test
