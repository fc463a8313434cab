#include "sdk/disabling_record.h"

#include <array>
#include <cerrno>
#include <sys/stat.h>
#include <utility>

#include <json/value.h>

#include "base/account_name.h"
#include "base/json.h"
#include "base/read_file.h"
#include "base/text.h"
#include "sdk/account_lock.h"
#include "sdk/noted_error.h"

namespace zevo {
namespace {

constexpr std::size_t kLongestRecord = 64UL * 1024 * 1024;
constexpr std::size_t kMembers = 6;
constexpr std::array<const char*, 3> kSambaWords = {"none", "enabled", "disabled"};

std::string pathIn(const std::string& folder) {
  return folder + "/disabled";
}

bool cannot(const char* operation, const std::string& path) {
  notedError(FileFailure{operation, path, errno});
  return false;
}

bool cannot(const FileFailure& failure) {
  notedError(failure);
  return false;
}

std::optional<SambaBefore> sambaOf(const std::string& word) {
  for (std::size_t i = 0; i < kSambaWords.size(); ++i) {
    if (word == kSambaWords.at(i)) return static_cast<SambaBefore>(i);
  }
  return std::nullopt;
}

bool hasTexts(const Json::Value& object) {
  for (const char* key : {"user", "expiry", "samba", "by", "from"}) {
    if (!object[key].isString()) return false;
  }
  return true;
}

std::optional<std::pair<std::string, Disabling>> parseLine(std::string_view line) {
  const auto object = parseJson(line);
  if (!object || !object->isObject() || object->size() != kMembers || !hasTexts(*object))
    return std::nullopt;
  const Json::Value& when = (*object)["when"];
  const auto samba = sambaOf((*object)["samba"].asString());
  const std::string expiry = (*object)["expiry"].asString();
  const std::string user = (*object)["user"].asString();
  // The expiry is written back to a line of the shadow file.
  const bool isField = expiry.find_first_of(std::string_view(":\n\0", 3)) == std::string::npos;
  if (!when.isInt64() || !samba || !isField || !canBeAccountName(user)) return std::nullopt;
  return std::pair(user, Disabling{expiry, *samba, (*object)["by"].asString(),
                                   (*object)["from"].asString(), when.asInt64()});
}

// Creates and synchronises the directory if it does not exist.
bool makeFolder(const std::string& folder) {
  if (::mkdir(folder.c_str(), 0700) != 0) {
    return errno == EEXIST || cannot("create", folder);
  }
  const std::string above = folder.substr(0, folder.rfind('/') + 1);
  const FileDescriptor parent = openFile(above.c_str(), O_RDONLY | O_DIRECTORY);
  if (parent) static_cast<void>(::fsync(parent.get()));
  return true;
}

}  // namespace

std::optional<Disablings> parseDisablings(std::string_view content, unsigned* line) {
  Disablings disablings;
  for (*line = 1; !content.empty(); ++*line) {
    const std::size_t end = content.find('\n');
    // A line without a line break was not written completely.
    if (end == std::string_view::npos) return std::nullopt;
    auto parsed = parseLine(content.substr(0, end));
    if (!parsed || !disablings.insert(std::move(*parsed)).second) return std::nullopt;
    content.remove_prefix(end + 1);
  }
  return disablings;
}

std::string textOf(const Disablings& disablings) {
  std::string text;
  for (const auto& [user, disabling] : disablings) {
    Json::Value object(Json::objectValue);
    object["user"] = user;
    object["expiry"] = disabling.expiry;
    object["samba"] = kSambaWords.at(static_cast<std::size_t>(disabling.samba));
    object["by"] = disabling.by;
    object["from"] = disabling.from;
    object["when"] = static_cast<Json::Int64>(disabling.when);
    text += compactJson(object) + "\n";
  }
  return text;
}

bool DisablingRecord::open(std::chrono::milliseconds wait) {
  if (!makeFolder(folder_)) return false;
  if (const auto failure = lockAccounts(pathIn(folder_) + ".lock", wait, &lock_)) {
    notedError(ZEVO_ERR_SYSTEM, *failure);
    return false;
  }
  return read();
}

bool DisablingRecord::read() {
  const std::string path = pathIn(folder_);
  disablings_.clear();
  const FileDescriptor file = openFile(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
  if (!file) return errno == ENOENT || cannot("open", path);
  std::string content;
  if (const auto failure = readDescriptor(file.get(), path, kLongestRecord, &content)) {
    return cannot(*failure);
  }
  unsigned line = 0;
  auto read = parseDisablings(content, &line);
  if (!read) {
    notedError(ZEVO_ERR_SYSTEM,
               "cannot read " + printable(path, 4096) + ":" + std::to_string(line) +
                   ": the line is not a record of a disabled account; repair or remove it");
    return false;
  }
  disablings_ = std::move(*read);
  return true;
}

bool DisablingRecord::write(const Disablings& disablings) {
  const std::string text = textOf(disablings);
  const std::array<std::string_view, 1> pieces = {text};
  const ReplaceOptions options = {.mode = 0600, .removeLeftovers = true};
  if (const auto failure = replaceFile(pathIn(folder_), pieces, options, operations_)) {
    return cannot(*failure);
  }
  disablings_ = disablings;
  return true;
}

}  // namespace zevo
