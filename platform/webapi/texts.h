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
// "zh_CN", then "zh". None for "", "C", "POSIX" and what is no locale's name: a name is never a
// path.
std::vector<std::string> languagesOf(const std::string& locale);

// The first of languagesOf(locale) for which `folder` has a file.
std::optional<std::string> closestLanguage(const std::string& folder, const std::string& locale);

// Languages for which `folder` has a file, sorted.
std::vector<std::string> languagesIn(const std::string& folder);

// The locale that the environment chooses for messages; "" where it chooses none.
std::string environmentLocale();

// Sections `names` in the closest language of `locale` for which `folder` has a file, each key that
// it lacks taken from English. Returns false, with *problem telling the cause and *sections as far
// as they could be read, where the file in English or that of a language that `mustExist` could not
// be read.
bool readTexts(const std::string& folder, const std::string& locale, bool mustExist,
               const std::vector<std::string>& names, std::vector<Section>* sections,
               std::string* problem);

// The folder of text files that belongs to this library: beside it in an unpacked tree, else the
// installation's.
std::string textsFolder();

}  // namespace zevo
