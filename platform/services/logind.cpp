#include "services/logind.h"

#include <cerrno>
#include <dirent.h>
#include <utility>

#include "base/numbers.h"
#include "base/open_folder.h"
#include "base/read_file.h"
#include "base/text.h"
#include "services/address.h"

namespace zevo::connections {
namespace {

constexpr std::size_t kFileLimit = 64UL * 1024;  // one has about twenty short lines

// The value of the first line "KEY=value"; empty if there is none.
std::string_view valueOf(std::string_view text, std::string_view key) {
  for (const std::string_view line : linesOf(text)) {
    if (line.starts_with(key) && line.substr(key.size()).starts_with('=')) {
      return line.substr(key.size() + 1);
    }
  }
  return {};
}

// The seat of the session: its terminal, otherwise its display, otherwise the program that opened
// it.
std::string placeOf(std::string_view text) {
  for (const std::string_view key : {"TTY", "DISPLAY", "SERVICE"}) {
    const std::string_view value = valueOf(text, key);
    if (!value.empty()) return std::string(value);
  }
  return {};
}

}  // namespace

std::optional<LoginEntry> parseLogindSession(std::string_view text) {
  constexpr std::int64_t kMicrosecondsASecond = 1000000;
  const std::string_view user = valueOf(text, "USER");
  const std::string_view kind = valueOf(text, "CLASS");
  const bool isUsers = kind == "user" || kind.starts_with("user-");
  if (user.empty() || !isUsers || valueOf(text, "STATE") == "closing") return std::nullopt;
  const auto from = parseAddress(valueOf(text, "REMOTE_HOST"));
  return LoginEntry{.pid = parseNumber<pid_t>(valueOf(text, "LEADER")).value_or(0),
                    .session = 0,
                    .terminal = placeOf(text),
                    .user = std::string(user),
                    .from = from ? numericText(*from) : std::string(),
                    .time = parseNumber<std::int64_t>(valueOf(text, "REALTIME")).value_or(0) /
                            kMicrosecondsASecond};
}

Result<void> readLogindSessions(const std::string& folder, std::vector<LoginEntry>* entries) {
  const OpenFolder open(::opendir(folder.c_str()));
  if (!open && errno == ENOENT) return {};
  if (!open) return failure(FileFailure{"open", folder, errno}.text());
  Result<void> outcome;
  for (errno = 0; const dirent* file = ::readdir(open.get()); errno = 0) {
    const std::string_view name = file->d_name;
    // Besides "c1" there are "c1.ref", a pipe, and temporary files whose names begin with a dot.
    if (name.find('.') != std::string_view::npos) continue;
    std::string text;
    const auto cause = readFile(folder + "/" + file->d_name, kFileLimit, &text);
    if (cause && cause->error == ENOENT) continue;  // the session ended in the meantime
    if (cause) addPart(outcome, Result<void>(failure(cause->text())));
    if (cause) continue;
    auto entry = parseLogindSession(text);
    if (entry) entries->push_back(std::move(*entry));
  }
  if (errno != 0)
    addPart(outcome, Result<void>(failure(FileFailure{"read", folder, errno}.text())));
  return outcome;
}

}  // namespace zevo::connections
