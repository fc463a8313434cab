// Helpers for modules that write HTML.
#pragma once

#include <string>

#include "zevo/export.h"

namespace WebUtils {

// `text` with & < > " ' replaced by character references, so that it is safe as HTML text or quoted
// attribute value; all other bytes are unchanged. `lineBreaks`: each line feed also becomes "<br>".
ZEVO_EXPORT std::string EncodeHtml(const std::string& text, bool lineBreaks);

}  // namespace WebUtils
