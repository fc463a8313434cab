#include "host/config.h"

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

#include "base/file_descriptor.h"
#include "base/file_owner.h"
#include "base/read_file.h"
#include "base/text.h"
#include "sdk/config_text.h"

namespace zevo {
namespace {

constexpr std::size_t kLongestConfiguration = 1024UL * 1024;

struct Loaded {
  Config config;
  std::string path;
  ConfigLines lines;
};

Loaded& current() {
  static Loaded loaded;
  return loaded;
}

// Whether only root can have written the file that we act on as root.
bool isRootsAlone(int file) {
  struct stat status {};
  return ::fstat(file, &status) == 0 && belongsToUsOrRoot(status) && !canOthersWrite(status);
}

bool fail(std::string* error, std::string reason) {
  *error = std::move(reason);
  return false;
}

}  // namespace

bool loadConfig(const std::string& path, bool required, std::string* error) {
  const FileDescriptor file = openFile(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY);
  if (!file && errno == ENOENT && !required) {
    current() = {};
    return true;
  }
  if (!file) return fail(error, FileFailure{"read", path, errno}.text());
  if (::geteuid() == 0 && !isRootsAlone(file.get())) {
    const std::string shown = printable(path, 4096);
    return fail(error, "cannot read " + shown +
                           ": users other than root can write it; check it, then chown root " +
                           shown + " and chmod go-w " + shown);
  }
  std::string text;
  if (const auto failure = readDescriptor(file.get(), path, kLongestConfiguration, &text)) {
    return fail(error, failure->text());
  }
  Loaded read;
  read.path = path;
  if (!parseConfig(text, path, &read.config, &read.lines, error)) return false;
  current() = std::move(read);
  return true;
}

const Config& config() {
  return current().config;
}

std::string configProblem(std::string_view key, const std::string& reason) {
  const auto line = current().lines.find(key);
  return line == current().lines.end() ? reason : atLine(current().path, line->second, reason);
}

}  // namespace zevo
