#include "calls/captured_output.h"

#include <cstdio>
#include <fcntl.h>
#include <iostream>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace calls {
namespace {

void flushAll() {
  std::cout.flush();
  std::fflush(stdout);
}

}  // namespace

CapturedOutput::CapturedOutput() : memory_(::memfd_create("output", MFD_CLOEXEC)) {
  flushAll();
  if (!memory_) return;
  zevo::FileDescriptor saved(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3));
  if (saved && ::dup2(memory_.get(), STDOUT_FILENO) >= 0) saved_ = std::move(saved);
}

CapturedOutput::~CapturedOutput() {
  flushAll();
  if (saved_) ::dup2(saved_.get(), STDOUT_FILENO);
}

std::string CapturedOutput::text() {
  flushAll();
  std::string text;
  struct stat status {};
  if (::fstat(memory_.get(), &status) != 0 || status.st_size <= 0) return text;
  text.resize(static_cast<std::size_t>(status.st_size));
  std::size_t filled = 0;
  while (filled < text.size()) {
    const ssize_t got = ::pread(memory_.get(), text.data() + filled, text.size() - filled,
                                static_cast<off_t>(filled));
    if (got <= 0) break;
    filled += static_cast<std::size_t>(got);
  }
  text.resize(filled);
  return text;
}

}  // namespace calls
