#include "cli/commands/selection.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <strings.h>

#include "base/numbers.h"
#include "host/service_table.h"

namespace cli {
namespace {

// The list's name for the service `word`; empty if it is unknown.
std::string_view typeFor(const std::string& word) {
  const auto isIt = [&](std::string_view known) {
    return !known.empty() && strcasecmp(word.c_str(), known.data()) == 0;
  };
  for (const zevo::ListedService& service : zevo::kListedServices) {
    if (std::any_of(service.words.begin(), service.words.end(), isIt)) return service.name;
  }
  return isIt(zevo::kUnlistedService) ? zevo::kUnlistedService : "";
}

bool takePids(const std::vector<std::string>& words, Json::Value* select, std::string* wrong) {
  for (const std::string& word : words) {
    const std::optional<std::uint32_t> pid = zevo::parseNumber<std::uint32_t>(word);
    if (!pid || *pid == 0) {
      *wrong =
          "\"" + word + "\" is not a process id: give a number from the column PID of the list";
      return false;
    }
    (*select)["pids"].append(*pid);
  }
  return true;
}

bool takeText(const char* name, const std::optional<std::string>& word, Json::Value* select,
              std::string* wrong) {
  if (!word) return true;
  (*select)[name] = *word;
  if (!word->empty()) return true;
  *wrong = std::string("--") + name + " must not be empty: leave it out to mean any";
  return false;
}

bool takeService(const std::optional<std::string>& word, Json::Value* select, std::string* wrong) {
  if (!word) return true;
  const std::string_view type = typeFor(*word);
  if (!type.empty()) {
    (*select)["type"] = std::string(type);
    return true;
  }
  const auto usualWord = [](const zevo::ListedService& service) { return service.words.front(); };
  *wrong = "--service must be " + zevo::enumerateServices(usualWord) + " or unknown, found \"" +
           *word + "\"";
  return false;
}

}  // namespace

std::optional<Json::Value> checkSelection(const SelectionWords& words, std::string* wrong) {
  Json::Value select(Json::objectValue);
  const bool isRight = takePids(words.pids, &select, wrong) &&
                       takeText("user", words.user, &select, wrong) &&
                       takeText("from", words.from, &select, wrong) &&
                       takeText("filter", words.filter, &select, wrong) &&
                       takeService(words.service, &select, wrong);
  if (!isRight) return {};
  if (!select.empty()) return select;
  *wrong = "nothing selected: give a PID, --user, --from, --service or --filter";
  return {};
}

}  // namespace cli
