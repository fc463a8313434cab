// Helpers for modules that write HTML themselves.
#pragma once

#include <string>

#include "zevo/export.h"

namespace WebUtils {

// `text` with & < > " ' replaced by character references, so that it is text wherever HTML takes
// text or a quoted attribute value; all other bytes stay as they are. `lineBreaks`: each line feed
// becomes "<br>" as well.
ZEVO_EXPORT std::string EncodeHtml(const std::string& text, bool lineBreaks);

}  // namespace WebUtils
