#include "cli/terminal/terminal.h"

#include <clocale>
#include <cstdlib>
#include <langinfo.h>
#include <string_view>
#include <sys/ioctl.h>
#include <system_error>

#include "base/numbers.h"

namespace cli {
namespace {

// More than any terminal has; a greater number is invalid.
constexpr int kGreatestSize = 10000;

int sizeFromEnvironment(const char* name, int fallback) {
  const char* value = std::getenv(name);
  if (!value) return fallback;
  const int size = zevo::parseNumber<int>(value).value_or(0);
  return size > 0 && size <= kGreatestSize ? size : fallback;
}

}  // namespace

TerminalSize terminalSize(int descriptor) {
  TerminalSize size;
  winsize window = {};
  const bool isKnown = ioctl(descriptor, TIOCGWINSZ, &window) == 0;
  size.columns =
      isKnown && window.ws_col > 0 ? window.ws_col : sizeFromEnvironment("COLUMNS", size.columns);
  size.rows =
      isKnown && window.ws_row > 0 ? window.ws_row : sizeFromEnvironment("LINES", size.rows);
  return size;
}

bool movesCursor(const char* term) {
  const std::string_view name = term ? term : "";
  return !name.empty() && name != "dumb";
}

bool allowsColours(const char* noColor, const char* term) {
  const bool isForbidden = noColor && *noColor != '\0';
  return !isForbidden && movesCursor(term);
}

Charset charsetOfLocale() {
  std::setlocale(LC_CTYPE, "");
  return std::string_view(nl_langinfo(CODESET)) == "UTF-8" ? Charset::kUtf8 : Charset::kAscii;
}

}  // namespace cli
