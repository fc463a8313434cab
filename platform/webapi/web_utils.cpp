#include "zevo/web_utils.h"

#include <string_view>

namespace WebUtils {
namespace {

// The replacement for `c`; empty if it needs none.
std::string_view reference(char c, bool lineBreaks) {
  switch (c) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '"':
      return "&quot;";
    case '\'':
      return "&#39;";  // HTML 4 knows no name for it
    case '\n':
      return lineBreaks ? "<br>" : "";
    default:
      return "";
  }
}

}  // namespace

std::string EncodeHtml(const std::string& text, bool lineBreaks) {
  std::string encoded;
  encoded.reserve(text.size());
  for (const char c : text) {
    const std::string_view written = reference(c, lineBreaks);
    if (written.empty()) {
      encoded += c;
    } else {
      encoded += written;
    }
  }
  return encoded;
}

}  // namespace WebUtils
