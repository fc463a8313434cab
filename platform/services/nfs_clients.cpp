#include "services/nfs_clients.h"

#include <cerrno>
#include <dirent.h>
#include <sys/stat.h>

#include "base/file_failure.h"
#include "base/local_time.h"
#include "base/numbers.h"
#include "base/open_folder.h"
#include "base/read_file.h"
#include "base/text.h"
#include "services/address.h"
#include "services/boot_clock.h"

namespace zevo::connections {
namespace {

constexpr std::size_t kInfoLimit = 64UL * 1024;
constexpr std::size_t kTableLimit = 16UL * 1024 * 1024;  // some 200,000 mounts

// The text after `key` on the first line that begins with it. The kernel escapes line breaks in the
// client's strings.
std::optional<std::string_view> valueAfter(std::string_view text, std::string_view key) {
  for (std::string_view line : linesOf(text)) {
    if (!line.starts_with(key)) continue;
    line.remove_prefix(key.size());
    return line;
  }
  return std::nullopt;
}

// The address in "10.0.0.9:783" and "[2001:db8::1]:783" with the quotes around it; unchanged if it
// has neither form.
std::string addressIn(std::string_view quoted) {
  if (quoted.starts_with('"')) quoted.remove_prefix(1);
  if (quoted.ends_with('"')) quoted.remove_suffix(1);
  std::string_view host = quoted.substr(0, quoted.rfind(':'));
  if (host.starts_with('[') && host.ends_with(']')) host = host.substr(1, host.size() - 2);
  const auto address = parseAddress(host);
  return address ? numericText(*address) : std::string(quoted);
}

std::string versionText(std::optional<std::string_view> minorVersion) {
  const auto number = parseNumber<unsigned>(minorVersion.value_or(""));
  return number ? "NFSv4." + std::to_string(*number) : "NFSv4";
}

// The client may have disconnected; the kernel then reports ENXIO for its files.
bool clientHasGone(int error) {
  return error == ENOENT || error == ENXIO || error == ESRCH;
}

Result<void> cannotRead(const FileFailure& cause) {
  return failure(cause.text() + "; run this as root");
}

Result<void> readClient(const std::string& folder, std::vector<NfsClient>* clients) {
  std::string info;
  struct stat status {};
  const auto cause = readFile(folder + "/info", kInfoLimit, &info);
  if (cause && clientHasGone(cause->error)) return {};
  if (cause) return cannotRead(*cause);
  auto client = parseNfsClient(info);
  if (!client) return {};
  if (::stat(folder.c_str(), &status) == 0) client->time = localTimeText(status.st_mtime);
  clients->push_back(std::move(*client));
  return {};
}

std::optional<NfsMount> parseMount(std::string_view line) {
  const std::size_t path = line.find(":/");
  const std::size_t count = line.rfind(":0x");
  if (path == std::string_view::npos || count == std::string_view::npos || count <= path) {
    return std::nullopt;
  }
  const bool isUnmounted = line.find_first_not_of('0', count + 3) == std::string_view::npos;
  const auto address = parseAddress(line.substr(0, path));
  if (isUnmounted || !address) return std::nullopt;
  return NfsMount{numericText(*address), std::string(line.substr(path + 1, count - path - 1))};
}

}  // namespace

std::optional<NfsClient> parseNfsClient(std::string_view info) {
  const auto address = valueAfter(info, "address: ");
  const auto status = valueAfter(info, "status: ");
  if (!address || address->empty() || (status && *status != "confirmed")) return std::nullopt;
  return NfsClient{addressIn(*address), versionText(valueAfter(info, "minor version: ")), {}};
}

Result<void> readNfsClients(const Paths& paths, std::vector<NfsClient>* clients) {
  clients->clear();
  const std::string path = paths.nfsd + "/clients";
  const OpenFolder folder(::opendir(path.c_str()));
  if (!folder && clientHasGone(errno)) return {};
  if (!folder) return cannotRead({"read", path, errno});
  Result<void> outcome;
  for (errno = 0; const dirent* entry = ::readdir(folder.get()); errno = 0) {
    if (entry->d_name[0] == '.') continue;
    addPart(outcome, readClient(path + "/" + entry->d_name, clients));
  }
  if (errno != 0) addPart(outcome, cannotRead({"read", path, errno}));
  return outcome;
}

std::vector<NfsMount> parseRmtab(std::string_view table) {
  std::vector<NfsMount> mounts;
  for (const std::string_view line : linesOf(table)) {
    auto mount = parseMount(line);
    if (mount) mounts.push_back(std::move(*mount));
  }
  return mounts;
}

bool isKernelNfsRunning(const Paths& paths) {
  std::string threads;
  if (readFile(paths.nfsd + "/threads", kInfoLimit, &threads)) return false;
  std::string_view count = threads;
  return takeNumber<unsigned>(count).value_or(0) > 0;
}

Result<void> readRmtab(const Paths& paths, std::vector<NfsMount>* mounts) {
  mounts->clear();
  std::string table;
  const auto cause = readFile(paths.rmtab, kTableLimit, &table);
  if (cause && cause->error != ENOENT) return failure(cause->text());
  if (!cause) *mounts = parseRmtab(table);
  return {};
}

}  // namespace zevo::connections
