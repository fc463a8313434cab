#include "host/open_files.h"

#include "base/text.h"
#include "base/tool_run.h"
#include "host/config.h"
#include "services/smbstatus.h"

std::optional<zevo::OpenFiles> zevo::openFiles(std::string* cause) {
  const std::string& tool = config().smbstatus;
  const ToolResult answer =
      ToolRun({tool, "--json", "--locks"}, {.time = config().toolLimit}).finish();
  std::optional<OpenFiles> files;
  if (answer.complete) files = connections::parseSmbOpenFiles(answer.output);
  if (files) return files;
  *cause = printable(tool + " --locks " +
                     (answer.complete ? "gave an unreadable answer" : answer.cause));
  return std::nullopt;
}
