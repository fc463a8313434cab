#include <algorithm>
#include <array>
#include <string_view>

#include "base/text.h"
#include "host/web_login.h"

namespace zevo {
namespace {

constexpr std::size_t kLongestName = 40;

struct Browser {
  std::string_view mark;  // found only in its User-Agent, or that of a browser below
  const char* name;
};

// In this order, since most browsers also claim to be those below them.
constexpr std::array<Browser, 9> kBrowsers = {{
    {"Edg/", "Edge"},
    {"OPR/", "Opera"},
    {"Vivaldi/", "Vivaldi"},
    {"SamsungBrowser/", "Samsung Internet"},
    {"Firefox/", "Firefox"},
    {"FxiOS/", "Firefox"},
    {"CriOS/", "Chrome"},
    {"Chrome/", "Chrome"},
    {"Safari/", "Safari"},
}};

}  // namespace

std::string browserName(const std::string& userAgent) {
  const auto* known = std::find_if(kBrowsers.begin(), kBrowsers.end(), [&](const Browser& browser) {
    return userAgent.find(browser.mark) != std::string::npos;
  });
  if (known != kBrowsers.end()) return known->name;
  return printable(userAgent.substr(0, userAgent.find_first_of("/ ")), kLongestName);
}

}  // namespace zevo
