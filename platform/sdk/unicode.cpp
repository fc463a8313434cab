#include "zevo/unicode.h"

#include <cstdint>
#include <cstring>
#include <string_view>

#include <climits>
#include <unicode/ucasemap.h>

#include "zevo/error_trail.h"

#include "base/text.h"

namespace zevo {
namespace {

// Upper-cases ASCII text; the result has the same length. False, with the bytes written so far, if
// `source` has other characters.
bool upperAscii(std::string_view source, char* destination) {
  std::uint8_t seen = 0;
  for (std::size_t i = 0; i < source.size(); ++i) {
    const auto byte = static_cast<std::uint8_t>(source[i]);
    seen |= byte;
    const bool lower = static_cast<std::uint8_t>(byte - 'a') < 26;
    destination[i] = static_cast<char>(lower ? byte - ('a' - 'A') : byte);
  }
  destination[source.size()] = '\0';
  return seen < 0x80;
}

// The root locale: any other would depend on the server's language (Turkish maps i to a dotted
// capital).
const UCaseMap* rootCaseMap() {
  struct Opened {
    UErrorCode status = U_ZERO_ERROR;
    UCaseMap* map = ::ucasemap_open("", 0, &status);
    ~Opened() { ::ucasemap_close(map); }
  };
  static const Opened opened;
  return U_SUCCESS(opened.status) != 0 ? opened.map : nullptr;
}

// The length of the result, or -1.
int upperUnicode(std::string_view source, char* destination, int size) {
  const UCaseMap* map = rootCaseMap();
  if (map == nullptr) return -1;
  UErrorCode status = U_ZERO_ERROR;
  const int length = ::ucasemap_utf8ToUpper(map, destination, size, source.data(),
                                            static_cast<int>(source.size()), &status);
  // An exact fit succeeds with a warning that there is no NUL.
  return U_SUCCESS(status) != 0 && length < size ? length : -1;
}

int fail(char* destination, int size, const char* cause) {
  if (destination != nullptr && size > 0) destination[0] = '\0';
  ZEVO_NOTE_ERROR(ZEVO_ERR_BAD_TEXT, cause);
  return -1;
}

}  // namespace
}  // namespace zevo

extern "C" int VLIBCUnicodeUTF8StrUpper(const char* source, char* destination, int size) {
  if (source == nullptr || destination == nullptr || size <= 0) {
    return zevo::fail(destination, size, "there is no text to upper-case or no room for it");
  }
  const std::string_view text(source);
  if (text.size() > INT_MAX) return zevo::fail(destination, size, "the text is too long");
  if (text.size() < static_cast<std::size_t>(size) && zevo::upperAscii(text, destination)) {
    return static_cast<int>(text.size());
  }
  if (!zevo::validUtf8(text)) {
    return zevo::fail(destination, size, "the text is not valid UTF-8");
  }
  const int length = zevo::upperUnicode(text, destination, size);
  if (length < 0) return zevo::fail(destination, size, "the text is too long: give a shorter one");
  return length;
}
