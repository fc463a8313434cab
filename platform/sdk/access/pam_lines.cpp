#include "sdk/access/pam_lines.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "base/numbers.h"
#include "base/read_file.h"
#include "base/text.h"
#include "sdk/access/words.h"

namespace zevo::access {
namespace {

constexpr std::size_t kLongestFile = 256UL * 1024;
constexpr int kDeepestInclude = 16;       // as deep as PAM goes
constexpr std::size_t kMostRules = 1000;  // files that include each other repeatedly
constexpr std::string_view kPamBlanks = " \t\r";

std::optional<int> parseAction(std::string_view text) {
  constexpr std::array<std::pair<std::string_view, int>, 6> kNames = {{{"ignore", kPamIgnore},
                                                                       {"ok", kPamOk},
                                                                       {"done", kPamDone},
                                                                       {"bad", kPamBad},
                                                                       {"die", kPamDie},
                                                                       {"reset", kPamReset}}};
  for (const auto& [name, action] : kNames) {
    if (text == name) return action;
  }
  const auto jump = parseNumber<int>(text);
  return jump && *jump > 0 ? jump : std::nullopt;
}

// "success=1 default=ignore".
std::optional<PamControl> parseValues(std::string_view text) {
  PamControl control;
  for (const std::string& word : wordsOf(text)) {
    const std::size_t equals = word.find('=');
    if (equals == std::string::npos) return std::nullopt;
    const auto action = parseAction(std::string_view(word).substr(equals + 1));
    if (!action) return std::nullopt;
    const std::string value = word.substr(0, equals);
    if (value == "default") {
      control.fallback = *action;
    } else {
      control.actions[value] = *action;
    }
  }
  return control;
}

// Removes the next word from `rest`; text in brackets is one word, with only its opening bracket.
std::string takeWord(std::string_view& rest) {
  rest.remove_prefix(std::min(rest.find_first_not_of(kPamBlanks), rest.size()));
  const bool isBracket = rest.starts_with('[');
  const std::size_t end = isBracket ? rest.find(']') : rest.find_first_of(kPamBlanks);
  std::string word(rest.substr(0, end));
  rest.remove_prefix(std::min(rest.size(), word.size() + (isBracket ? 1 : 0)));
  return word;
}

// Lines without comments; a line that ends in a backslash is joined with the next.
std::vector<std::string> logicalLines(std::string_view text) {
  std::vector<std::string> lines(1);
  for (std::string_view line : linesOf(text)) {
    line = line.substr(0, line.find('#'));
    line = line.substr(0, line.find_last_not_of(kPamBlanks) + 1);
    const bool goesOn = line.ends_with('\\');
    if (goesOn) line.remove_suffix(1);
    lines.back().append(line);
    if (goesOn) {
      lines.back() += ' ';
    } else {
      lines.emplace_back();
    }
  }
  return lines;
}

class RulesReader {
 public:
  RulesReader(const std::vector<std::string>& folders, const std::string& root, std::string* cause)
      : folders_(folders), root_(root), cause_(cause) {}

  bool readService(const std::string& name, int level, int depth) {
    std::string text;
    if (depth > kDeepestInclude) return fail(name + " includes too many others");
    return find(name, &text) && readLines(name, text, level, depth);
  }
  [[nodiscard]] bool has(const std::string& name) const {
    std::string ignored;
    return std::any_of(folders_.begin(), folders_.end(), [&](const std::string& folder) {
      const auto failure = readFile(folder + "/" + name, kLongestFile, &ignored);
      return !failure || failure->error != ENOENT;
    });
  }
  std::vector<PamRule> takeRules() { return std::move(rules_); }

 private:
  bool fail(std::string cause) {
    *cause_ = std::move(cause);
    return false;
  }

  bool find(const std::string& name, std::string* text) {
    std::vector<std::string> paths = {root_ + name};
    if (!name.starts_with('/')) {
      paths.clear();
      for (const std::string& folder : folders_)
        paths.push_back(std::string(folder).append("/").append(name));
    }
    for (const std::string& path : paths) {
      const auto failure = readFile(path, kLongestFile, text);
      if (!failure) return true;
      if (failure->error != ENOENT) return fail(failure->text());
    }
    return fail("there is no PAM service " + name);
  }

  bool readLines(const std::string& name, const std::string& text, int level, int depth) {
    for (const std::string& line : logicalLines(text)) {
      if (!readLine(name, line, level, depth)) return false;
    }
    return true;
  }

  bool readLine(const std::string& name, std::string_view line, int level, int depth) {
    std::string type = lowered(takeWord(line));
    if (type == "@include") return readService(takeWord(line), level, depth + 1);
    if (type.starts_with('-')) type.erase(0, 1);
    if (type != "account") return true;
    const std::string control = takeWord(line);
    const std::string module = takeWord(line);
    if (module.empty()) return fail("PAM's file " + name + " has an incomplete line");
    if (lowered(control) == "include") return readService(module, level, depth + 1);
    if (lowered(control) == "substack") return readSubstack(module, level, depth);
    const auto parsed = parsePamControl(control);
    if (!parsed) return fail("PAM's file " + name + " has an unknown control " + control);
    if (rules_.size() >= kMostRules) return fail("PAM's file " + name + " has too many rules");
    rules_.push_back({level, module, !takeWord(line).empty(), *parsed});
    return true;
  }

  bool readSubstack(const std::string& name, int level, int depth) {
    rules_.push_back({level, "", false, {}});
    return readService(name, level + 1, depth + 1);
  }

  const std::vector<std::string>& folders_;
  const std::string& root_;
  std::string* cause_;
  std::vector<PamRule> rules_;
};

}  // namespace

int PamControl::actionOn(const std::string& value) const {
  const auto found = actions.find(value);
  return found != actions.end() ? found->second : fallback;
}

std::optional<PamControl> parsePamControl(std::string_view word) {
  if (word.starts_with('[')) return parseValues(word.substr(1));
  const std::string name = lowered(word);
  if (name == "required") return parseValues("success=ok new_authtok_reqd=ok ignore=ignore");
  if (name == "requisite") {
    return parseValues("success=ok new_authtok_reqd=ok ignore=ignore default=die");
  }
  if (name == "sufficient") return parseValues("success=done new_authtok_reqd=done default=ignore");
  if (name == "optional") return parseValues("success=ok new_authtok_reqd=ok default=ignore");
  return std::nullopt;
}

std::optional<std::vector<PamRule>> readPamRules(const std::vector<std::string>& folders,
                                                 const std::string& root,
                                                 const std::string& service, std::string* cause) {
  RulesReader own(folders, root, cause);
  if (own.has(service)) {
    if (!own.readService(service, 0, 0)) return std::nullopt;
    std::vector<PamRule> rules = own.takeRules();
    if (!rules.empty()) return rules;
  }
  RulesReader other(folders, root, cause);
  if (!other.readService("other", 0, 0)) return std::nullopt;
  return other.takeRules();
}

}  // namespace zevo::access
