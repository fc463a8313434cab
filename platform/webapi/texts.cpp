#include "webapi/texts.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <optional>
#include <string_view>
#include <unistd.h>

#include "base/json.h"
#include "base/read_file.h"
#include "base/text.h"

namespace zevo {
namespace {

constexpr std::size_t kLongestFile = 1024UL * 1024;
constexpr const char* kEnglish = "en";
constexpr const char* kSuffix = ".json";

// The file of one language; null, with the reason in *problem, if it cannot be read.
Json::Value readLanguage(const std::string& folder, const std::string& language,
                         std::string* problem) {
  const std::string path = folder + "/" + language + kSuffix;
  std::string text;
  if (const auto failure = readFile(path, kLongestFile, &text)) {
    *problem = failure->text();
    return {};
  }
  std::string why = "it is not a JSON object";
  const auto root = parseJson(text, RepeatedNames::kLastCounts, &why);
  if (root && root->isObject()) return *root;
  *problem = "cannot read " + path + ": " + printable(why, 200);
  return {};
}

// Overwrites existing texts with those of one language.
void overlay(const Json::Value& language, const std::vector<std::string>& names,
             std::vector<Section>* sections) {
  if (!language.isObject()) return;
  for (std::size_t i = 0; i < names.size(); ++i) {
    const Json::Value* section = language.find(names[i].data(), names[i].data() + names[i].size());
    if (section == nullptr || !section->isObject()) continue;
    for (auto text = section->begin(); text != section->end(); ++text) {
      if (text->isString()) (*sections)[i][text.name()] = text->asString();
    }
  }
}

bool exists(const std::string& path) {
  return ::access(path.c_str(), R_OK) == 0;
}

}  // namespace

std::vector<std::string> languagesOf(const std::string& locale) {
  std::string name = locale.substr(0, locale.find_first_of(".@"));
  std::replace(name.begin(), name.end(), '-', '_');
  if (name.empty() || name == "C" || name == "POSIX" || name.front() == '_') return {};
  const bool isName = std::all_of(name.begin(), name.end(), [](char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
  });
  if (!isName) return {};
  const std::size_t territory = name.find('_');
  if (territory == std::string::npos) return {name};
  return {name, name.substr(0, territory)};
}

std::optional<std::string> closestLanguage(const std::string& folder, const std::string& locale) {
  const auto languages = languagesOf(locale);
  const auto closest = std::find_if(languages.begin(), languages.end(), [&](const auto& name) {
    return exists(folder + "/" + name + kSuffix);
  });
  return closest == languages.end() ? std::nullopt : std::optional(*closest);
}

std::vector<std::string> languagesIn(const std::string& folder) {
  std::vector<std::string> languages;
  std::error_code failure;
  std::filesystem::directory_iterator entry(folder, failure);
  for (; !failure && entry != std::filesystem::directory_iterator(); entry.increment(failure)) {
    if (entry->path().extension() == kSuffix) languages.push_back(entry->path().stem());
  }
  std::sort(languages.begin(), languages.end());
  return languages;
}

std::string environmentLocale() {
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* value = ::secure_getenv(variable);
    if (value != nullptr && *value != '\0') return value;
  }
  return {};
}

bool readTexts(const std::string& folder, const std::string& locale, bool mustExist,
               const std::vector<std::string>& names, std::vector<Section>* sections,
               std::string* problem) {
  sections->assign(names.size(), {});
  problem->clear();
  overlay(readLanguage(folder, kEnglish, problem), names, sections);
  const auto language = closestLanguage(folder, locale);
  if (language) {
    if (*language != kEnglish) overlay(readLanguage(folder, *language, problem), names, sections);
  } else if (mustExist && problem->empty()) {
    *problem = "there are no texts in the language \"" + printable(locale, 80) + "\" in " + folder;
  }
  return problem->empty();
}

std::string textsFolder() {
  Dl_info library{};
  if (::dladdr(reinterpret_cast<const void*>(&textsFolder), &library) != 0) {
    const std::string file = library.dli_fname;
    const std::size_t slash = file.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : file.substr(0, slash);
    std::string beside = folder + "/../share/currentconn/texts";
    if (exists(beside)) return beside;
  }
  return INSTALLED_TEXTS;
}

}  // namespace zevo
