#include "services/container_name.h"

#include <algorithm>
#include <array>

#include "base/numbers.h"
#include "base/text.h"

namespace zevo::connections {
namespace {

constexpr std::size_t kIdDigits = 64;
constexpr std::size_t kShownDigits = 12;
constexpr std::size_t kLongestName = 64;

enum class Kind { kId, kName, kUnitName };

// The name of a container's cgroup under an engine.
struct Form {
  std::string_view prefix;
  std::string_view suffix;
  Kind kind;
};

constexpr std::array<Form, 10> kForms = {{
    {"docker-", ".scope", Kind::kId},
    {"libpod-", ".scope", Kind::kId},          // podman
    {"libpod-", "", Kind::kId},                // podman without systemd
    {"crio-", ".scope", Kind::kId},            // Kubernetes
    {"cri-containerd-", ".scope", Kind::kId},  // Kubernetes
    {"nerdctl-", ".scope", Kind::kId},         // containerd
    {"", "", Kind::kId},                       // Docker and Kubernetes without systemd
    {"lxc.payload.", "", Kind::kName},         // LXC, LXD, Incus
    {"machine-", ".scope", Kind::kUnitName},   // systemd-nspawn, libvirt
    {"systemd-nspawn@", ".service", Kind::kUnitName},
}};

// Directories below which a container's cgroup has the plain name.
constexpr std::array<std::string_view, 2> kNameFolders = {"lxc", "lxc.payload"};

bool isIn(char c, char first, char last) {
  return c >= first && c <= last;
}

bool isHexDigit(char c) {
  return isIn(c, '0', '9') || isIn(c, 'a', 'f');
}

bool isNameCharacter(char c) {
  return isIn(c, '0', '9') || isIn(c, 'a', 'z') || isIn(c, 'A', 'Z') || c == '.' || c == '_' ||
         c == '-';
}

std::optional<std::string> shownId(std::string_view id) {
  const bool isId = id.size() == kIdDigits && std::all_of(id.begin(), id.end(), isHexDigit);
  return isId ? std::optional<std::string>(id.substr(0, kShownDigits)) : std::nullopt;
}

std::optional<std::string> shownName(std::string_view name) {
  const bool isName = !name.empty() && name.size() <= kLongestName &&
                      std::all_of(name.begin(), name.end(), isNameCharacter);
  return isName ? std::optional<std::string>(name) : std::nullopt;
}

// Decodes the escapes of systemd's unit names: "\x2d" is '-'.
std::string unescaped(std::string_view text) {
  constexpr std::string_view kMark = "\\x";
  std::string plain;
  while (!text.empty()) {
    unsigned char byte = 0;
    const bool isEscape = text.starts_with(kMark) && text.size() >= kMark.size() + 2 &&
                          parseNumber(text.substr(kMark.size(), 2), &byte, 16);
    plain += isEscape ? static_cast<char>(byte) : text.front();
    text.remove_prefix(isEscape ? kMark.size() + 2 : 1);
  }
  return plain;
}

std::optional<std::string> nameBy(const Form& form, std::string_view component) {
  if (component.size() < form.prefix.size() + form.suffix.size() ||
      !component.starts_with(form.prefix) || !component.ends_with(form.suffix)) {
    return std::nullopt;
  }
  component.remove_prefix(form.prefix.size());
  component.remove_suffix(form.suffix.size());
  if (form.kind == Kind::kId) return shownId(component);
  return form.kind == Kind::kName ? shownName(component) : shownName(unescaped(component));
}

std::optional<std::string> nameOf(std::string_view folder, std::string_view component) {
  // containerd without systemd in between writes "kubepods-….slice:cri-containerd:ID".
  component.remove_prefix(component.rfind(':') + 1);
  for (const Form& form : kForms) {
    if (auto name = nameBy(form, component)) return name;
  }
  const bool isNamed =
      std::find(kNameFolders.begin(), kNameFolders.end(), folder) != kNameFolders.end();
  return isNamed ? shownName(component) : std::nullopt;
}

// The innermost container in `path`.
std::optional<std::string> nameIn(std::string_view path) {
  std::optional<std::string> innermost;
  std::string_view folder;
  while (!path.empty()) {
    const std::string_view component = takeUntil('/', path);
    if (auto name = nameOf(folder, component)) innermost = std::move(name);
    folder = component;
  }
  return innermost;
}

}  // namespace

std::optional<std::string> containerName(std::string_view cgroups) {
  // Text after the last line break is truncated.
  for (std::size_t length = 0; (length = cgroups.find('\n')) != std::string_view::npos;) {
    const std::string_view line = cgroups.substr(0, length);
    cgroups.remove_prefix(length + 1);
    const std::size_t path = line.find(":/");
    if (path == std::string_view::npos) continue;
    if (auto name = nameIn(line.substr(path + 2))) return name;
  }
  return std::nullopt;
}

}  // namespace zevo::connections
