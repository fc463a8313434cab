#include "zevo/web_utils.h"

#include "fakes/allocation.h"
#include "fakes/platform.h"

std::string WebUtils::EncodeHtml(const std::string& text, bool lineBreaks) {
  const fakes::AllocationPause pause;
  fakes::Platform::current("EncodeHtml")
      .calls.record("EncodeHtml(" + text + (lineBreaks ? ", true)" : ", false)"));
  return "{" + text + "}";
}
