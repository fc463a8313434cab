// The text files behind a StringBundle.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace zevo {

// Texts of one section, by key.
using Section = std::map<std::string, std::string, std::less<>>;

// Names of text files to try for a `locale` such as "zh_CN.UTF-8@x" or "de-AT", the closest first:
// "zh_CN", then "zh". None for "", "C", "POSIX" and anything that is not the name of a locale: a
// name is never a path.
std::vector<std::string> languagesOf(const std::string& locale);

// The first of languagesOf(locale) for which the directory `folder` has a file.
std::optional<std::string> closestLanguage(const std::string& folder, const std::string& locale);

// The languages for which the directory `folder` has a file, sorted.
std::vector<std::string> languagesIn(const std::string& folder);

// The locale for messages in the environment; "" if there is none.
std::string environmentLocale();

// The sections `names` in the closest language of `locale` for which `folder` has a file; missing
// keys are taken from English. Returns false, with the cause in *problem and *sections as far as
// they could be read, if the English file or that of a language that `mustExist` could not be read.
bool readTexts(const std::string& folder, const std::string& locale, bool mustExist,
               const std::vector<std::string>& names, std::vector<Section>* sections,
               std::string* problem);

// The directory of this library's text files: beside it in an unpacked tree, otherwise the
// installed one.
std::string textsFolder();

}  // namespace zevo
