#include "services/process_owner.h"

#include <algorithm>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <utility>

#include <linux/nsfs.h>

#include "base/file_descriptor.h"
#include "base/numbers.h"
#include "base/read_file.h"
#include "base/text.h"
#include "services/account_name.h"

namespace zevo::connections {
namespace {

constexpr int kDeepest = 40;  // the kernel nests 32 namespaces of a kind

std::uint64_t numberOf(const FileDescriptor& space) {
  struct stat status {};
  return ::fstat(space.get(), &status) == 0 ? status.st_ino : 0;
}

FileDescriptor related(const FileDescriptor& space, unsigned long which) {
  return FileDescriptor(::ioctl(space.get(), which));
}

// Removes the next of the ids, which the kernel aligns with spaces.
std::optional<uid_t> takeId(std::string_view& line) {
  line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
  return takeNumber<uid_t>(line);
}

// Of `space` and its ancestors, the one directly in `home`; none if `home` is not an ancestor.
FileDescriptor outermost(FileDescriptor space, std::uint64_t home) {
  for (int i = 0; i < kDeepest; ++i) {
    FileDescriptor around = related(space, NS_GET_PARENT);
    if (!around) break;
    if (numberOf(around) == home) return space;
    space = std::move(around);
  }
  return {};
}

// The creator of the outermost user namespace around `space`, if that is not ours.
std::optional<uid_t> makerOf(FileDescriptor space, const Home& home) {
  if (home.user == 0 || numberOf(space) == home.user) return std::nullopt;
  const FileDescriptor foreign = outermost(std::move(space), home.user);
  uid_t maker = 0;
  if (!foreign || ::ioctl(foreign.get(), NS_GET_OWNER_UID, &maker) != 0) return std::nullopt;
  return maker;
}

// Opens the user namespace of the process only if it is not ours, which is rare.
std::optional<uid_t> makerAround(const ProcessFiles& process, const Home& home) {
  const auto number = process.namespaceNumber("user");
  if (!number || *number == 0 || *number == home.user) return std::nullopt;
  return makerOf(process.openNamespace("user"), home);
}

// The account to which the id `uid` is assigned, otherwise `uid` itself.
uid_t accountBehind(uid_t uid, const Home& home) {
  return home.subordinates.ownerOf(uid).value_or(uid);
}

// The id here to which 0 is mapped in the user namespace of the process.
std::optional<uid_t> rootIn(const Paths& paths, pid_t pid) {
  constexpr std::size_t kLongestMap = 64UL * 1024;
  std::string map;
  const std::string path = paths.proc + "/" + std::to_string(pid) + "/uid_map";
  if (readFile(path, kLongestMap, &map)) return std::nullopt;
  for (std::string_view line : linesOf(map)) {
    const auto inner = takeId(line);
    const auto outer = takeId(line);
    if (inner == 0U) return outer;
  }
  return std::nullopt;
}

}  // namespace

Result<uid_t> ownerOf(const ProcessFiles& process, const Home& home) {
  const auto maker = makerAround(process, home);
  if (maker && *maker != 0) return accountBehind(*maker, home);
  const auto ids = process.userIds();
  if (!ids) return errorOf(ids);
  return maker ? ids->real : accountBehind(ids->real, home);
}

Result<uid_t> tenantOf(const Paths& paths, const ProcessFiles& process, const Home& home) {
  if (makerAround(process, home) == uid_t{0}) {
    if (const auto root = rootIn(paths, process.pid())) return *root;
  }
  return ownerOf(process, home);
}

Result<bool> isContainersRoot(const Paths& paths, const ProcessFiles& process, const Home& home) {
  if (makerAround(process, home) != uid_t{0}) return false;
  const FileDescriptor parent = related(process.openNamespace("user"), NS_GET_PARENT);
  if (!parent || numberOf(parent) != home.user) return false;  // one within it is anybody's
  const auto root = rootIn(paths, process.pid());
  if (!root || !isNobodys(*root)) return false;
  const auto ids = process.userIds();
  if (!ids) return errorOf(ids);
  if (ids->real != *root && ids->effective != *root && ids->saved != *root) return false;
  return process.isSetuidProgram().map(std::logical_not<>());
}

Result<bool> runsHere(const ProcessFiles& process, const Home& home) {
  const auto number = process.namespaceNumber("pid");
  if (!number) return errorOf(number);
  if (*number == home.namespaces.pid) return true;
  const FileDescriptor foreign = outermost(process.openNamespace("pid"), home.namespaces.pid);
  if (!foreign) return false;
  const auto maker = makerOf(related(foreign, NS_GET_USERNS), home);
  return maker && *maker != 0;
}

}  // namespace zevo::connections
