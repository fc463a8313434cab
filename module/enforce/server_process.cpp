#include "enforce/server_process.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "zevo/error.h"

#include "api/log.h"

namespace {

enum ProcessLine : int { kProcessOpenLine = 280, kProcessReadLine = 290 };

// The kernel's highest pid_max on 64-bit systems, 4 * 1024 * 1024.
constexpr std::uint32_t kHighestPid = 1U << 22U;

struct CloseProcessFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
struct FreeText {
  void operator()(char* text) const { std::free(text); }
};

bool contains(const char* text, const char* part) {
  return std::strstr(text, part) != nullptr;
}

// The error text in the log is the system log's %m, which pedantic compilers reject.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat"
void logOpenFailed(const char* path) {
  syslog(kLogError, "%s:%d Failed to fopen [%s]. err=%m", kLogSource, kProcessOpenLine, path);
}

void logReadFailed() {
  syslog(kLogError, "%s:%d Failed to getline. err=%m", kLogSource, kProcessReadLine);
}
#pragma GCC diagnostic pop

// Whether the first argument of the process, its title, says so.
bool isInternalSftp(std::uint32_t pid) {
  char path[128];
  std::snprintf(path, sizeof path, "/proc/%u/cmdline", pid);
  const std::unique_ptr<std::FILE, CloseProcessFile> file(std::fopen(path, "re"));
  if (!file) {
    logOpenFailed(path);
    VLIBCErrSetEx(ZEVO_ERR_FILE_OPEN, __FILE__, __LINE__);
    return false;
  }
  char* text = nullptr;
  std::size_t size = 0;
  const ssize_t length = getline(&text, &size, file.get());
  const std::unique_ptr<char, FreeText> line(text);
  if (length < 0) {
    logReadFailed();
    return false;
  }
  return contains(line.get(), "internal-sftp");
}

}  // namespace

bool isProcessId(std::uint32_t pid) {
  return pid > 1 && pid <= kHighestPid;
}

bool servesType(std::uint32_t pid, const std::string& type, const char* name) {
  if (type == "CIFS") return contains(name, "smbd");
  if (type == "AFP") return contains(name, "afpd");
  if (type == "FTP") return contains(name, "ftpd");
  if (type == "TELNET") return contains(name, "telnetd");
  if (type == "SSH") return contains(name, "sshd");
  if (type == "SFTP")
    return contains(name, "sftpd") || (contains(name, "sshd") && isInternalSftp(pid));
  return false;
}
