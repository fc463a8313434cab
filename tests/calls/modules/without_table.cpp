// A library that is no module.
#include "zevo/export.h"

extern "C" ZEVO_EXPORT int nothingOfUse();
extern "C" ZEVO_EXPORT int nothingOfUse() {
  return 0;
}
