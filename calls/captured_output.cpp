#include "calls/captured_output.h"

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <iostream>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace calls {
namespace {

constexpr rlim_t kMostPrinted = 256UL * 1024 * 1024;

void flushAll() {
  std::cout.flush();
  std::fflush(stdout);
}

}  // namespace

CapturedOutput::CapturedOutput() : memory_(::memfd_create("output", MFD_CLOEXEC)) {
  flushAll();
  if (!memory_ || ::getrlimit(RLIMIT_FSIZE, &limit_) != 0) return;
  zevo::FileDescriptor saved(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3));
  if (!saved || ::dup2(memory_.get(), STDOUT_FILENO) < 0) return;
  saved_ = std::move(saved);
  const rlimit lowered{std::min(kMostPrinted, limit_.rlim_cur), limit_.rlim_max};
  ::setrlimit(RLIMIT_FSIZE, &lowered);
}

CapturedOutput::~CapturedOutput() {
  flushAll();
  if (!saved_) return;
  ::dup2(saved_.get(), STDOUT_FILENO);
  ::setrlimit(RLIMIT_FSIZE, &limit_);
}

std::string CapturedOutput::text() {
  flushAll();
  ::setrlimit(RLIMIT_FSIZE, &limit_);  // a log may be longer
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
