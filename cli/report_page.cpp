#include "report_page.h"

namespace cli {

std::optional<std::string_view> pageIn(std::string_view output) {
  constexpr std::string_view kHeaderEnd = "\r\n\r\n";
  const std::size_t header = output.find(kHeaderEnd);
  if (header == std::string_view::npos) return {};
  const std::string_view page = output.substr(header + kHeaderEnd.size());
  if (!page.starts_with("<html>") || !page.ends_with("</html>")) return {};
  return page;
}

}  // namespace cli
