// The report, byte for byte.
#pragma once

#include <array>
#include <string>

namespace module_test {

// Header lines and page up to the first row.
inline std::string reportHead(const std::string& title, const std::array<std::string, 5>& columns) {
  std::string text =
      "Content-Type:application/xxx\r\n"
      "Content-Disposition:attachment; filename=\"currentlog.html\"\r\n"
      "\r\n"
      "<html><head>\n"
      "<meta http-equiv=\"Content-Type\" content=\"text/html; charset=utf-8;\">\n"
      "<title>" +
      title +
      "</title>\n"
      "</head>\n"
      "<body>\n"
      "<center><h2> " +
      title +
      " </h2></center>\n"
      "<table border=1 width=95%>\n"
      "<tr>";
  for (const std::string& column : columns) text += "<th>" + column + "</th>";
  return text + "</tr>\n";
}

inline const std::string kReportFoot = "</table></body></html>";

}  // namespace module_test
