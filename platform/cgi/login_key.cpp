// The key for the marks of a session file's logins.
#include <array>
#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

#include "base/atomic_file.h"
#include "base/file_descriptor.h"
#include "base/read_file.h"
#include "cgi/failure.h"
#include "cgi/session_record.h"
#include "host/login_token.h"
#include "host/web_login.h"

namespace zevo {
namespace {

constexpr std::size_t kLongestKeyFile = 4096;

bool isOwnersAlone(int file) {
  struct stat status {};
  return ::fstat(file, &status) == 0 && status.st_uid == ::geteuid() &&
         (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

// Stores the existing key in *key, or nothing if there is none that can be trusted.
std::optional<FileFailure> readKey(const std::string& path, std::string* key) {
  const FileDescriptor file = openFile(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
  if (!file && (errno == ENOENT || errno == ELOOP)) return std::nullopt;
  if (!file) return FileFailure{"open", path, errno};
  if (!isOwnersAlone(file.get())) return std::nullopt;
  if (auto failure = readDescriptor(file.get(), path, kLongestKeyFile, key)) return failure;
  if (!isLoginToken(*key)) key->clear();
  return std::nullopt;
}

}  // namespace

std::string passwordMark(const std::string& key, const std::string& name,
                         const std::string& passwordField) {
  return keyedHash(key, name + ':' + passwordField);
}

std::optional<std::string> loginKey(const std::string& path) {
  const std::string keyFile = keyFileOf(path);
  std::string key;
  auto failure = readKey(keyFile, &key);
  if (!failure && key.empty()) {
    key = newLoginToken();
    const std::array<std::string_view, 1> pieces = {key};
    failure = replaceFile(keyFile, pieces);
  }
  if (!failure) return key;
  failAtFile(*failure);
  return std::nullopt;
}

}  // namespace zevo
