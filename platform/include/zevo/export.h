// What the platform libraries and the module export; everything else is hidden.
#pragma once

#define ZEVO_EXPORT __attribute__((visibility("default")))
