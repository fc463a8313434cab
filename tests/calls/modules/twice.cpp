// A module that offers one method twice.
#include "zevo/api_table.h"
#include "zevo/export.h"

namespace {

void handler(ZEVO::APIRequest* /*request*/, ZEVO::APIResponse* /*response*/) {}

ApiMethodRow table[] = {
    {"Twice", 1, "list", &handler}, {"Twice", 1, "list", &handler}, {nullptr, 0, nullptr, nullptr}};

}  // namespace

extern "C" ZEVO_EXPORT ApiMethodRow* GetAPITable() {
  return static_cast<ApiMethodRow*>(table);
}
