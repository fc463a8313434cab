#include "fakes/upper_casing.h"

#include <algorithm>
#include <cstring>

#include "zevo/unicode.h"

#include "fakes/allocation.h"
#include "fakes/platform.h"

int VLIBCUnicodeUTF8StrUpper(const char* source, char* destination, int size) {
  const fakes::AllocationPause pause;
  return fakes::Platform::current("VLIBCUnicodeUTF8StrUpper")
      .upperCasing.run(source, destination, size);
}

namespace fakes {

namespace {

char upper(char letter) {
  return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

}  // namespace

std::vector<std::string> UpperCasing::sources() const {
  std::vector<std::string> sources;
  for (const Use& use : uses_) sources.push_back(use.source);
  return sources;
}

int UpperCasing::run(const char* source, char* destination, int size) {
  const std::string call = std::string("VLIBCUnicodeUTF8StrUpper(") + source + ")";
  if (!allowed_) {
    calls_.unscripted(call);
    return -1;
  }
  calls_.record(call);
  const auto isZero = [](char byte) { return byte == '\0'; };
  uses_.push_back(
      {source, destination, size, std::all_of(destination, destination + size, isZero)});
  const std::string text = source;
  if (text.size() >= static_cast<std::size_t>(size)) return -1;
  std::transform(text.begin(), text.end(), destination, upper);
  destination[text.size()] = '\0';
  return failing_.count(text) != 0 ? -1 : static_cast<int>(text.size());
}

}  // namespace fakes
