#include "cli/terminal/style.h"

namespace cli {
namespace {

// Parameters of "select graphic rendition" (ECMA-48, 8.3.117).
std::string_view rendition(Style style) {
  switch (style) {
    case Style::kHeader:
      return "1";  // bold
    case Style::kCame:
      return "32";  // green
    case Style::kWent:
      return "31";  // red
    case Style::kFaint:
      return "2";
    case Style::kPlain:
      break;
  }
  return "";
}

}  // namespace

std::string styled(std::string_view text, Style style, bool colours) {
  if (!colours || style == Style::kPlain) return std::string(text);
  return "\x1b[" + std::string(rendition(style)) + "m" + std::string(text) + "\x1b[0m";
}

}  // namespace cli
