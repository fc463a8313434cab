#include "cli/terminal/table_output.h"

#include <cstdlib>
#include <unistd.h>

#include "cli/terminal/output.h"
#include "cli/terminal/terminal.h"

namespace cli {
namespace {

std::string leftOutLine(const Table& table) {
  std::string line;
  for (const std::string& name : table.leftOut) {
    line += line.empty() ? "not shown, the terminal is too narrow: " : ", ";
    line += name;
  }
  return line.empty() ? "" : line + "\n";
}

}  // namespace

Look lookOfOutput() {
  Look look;
  if (isatty(STDOUT_FILENO) != 1) return look;
  look.charset = charsetOfLocale();
  look.width = terminalSize(STDOUT_FILENO).columns;
  look.colours = allowsColours(std::getenv("NO_COLOR"), std::getenv("TERM"));
  return look;
}

std::string tableText(const std::vector<Connection>& connections, const Look& look) {
  return tableText(makeTable(unchangedRows(connections), look));
}

std::string tableText(const Table& table) {
  std::string text;
  for (const std::string& line : table.lines) text += line + "\n";
  return text + "\n" + leftOutLine(table);
}

std::string linesText(const std::vector<std::string>& lines, Charset charset) {
  std::string text;
  for (const std::string& line : lines) text += displayText(line, charset) + "\n";
  return text;
}

ExitCode printText(const std::string& text) {
  std::string cause;
  if (writeAll(STDOUT_FILENO, text, &cause) != Written::kFailed) return kExitDone;
  complain("cannot write to standard output: " + cause);
  return kExitFailed;
}

}  // namespace cli
