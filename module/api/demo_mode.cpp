#include "api/api_table.h"

extern "C" void set_demo_mode() {}
