#include "api/api_table.h"

namespace {

constexpr const char* kApi = "ZEVO.Core.CurrentConnection";

}  // namespace

extern "C" {

ApiMethodRow gTable[7] = {
    {kApi, 1, "list", CurrentConnectionEnum},
    {kApi, 1, "get", CurrentConnectionEnum},
    {kApi, 1, "list_by_user", CurrentConnectionEnumByUser},
    {kApi, 1, "kick_connection", CurrentConnectionKickConnection},
    {kApi, 1, "disable_user", CurrentConnectionDisableUser},
    {kApi, 1, "download", CurrentConnectionDownload},
    {nullptr, 0, nullptr, nullptr},
};

ApiMethodRow* GetAPITable() {
  return gTable;
}

}  // extern "C"
