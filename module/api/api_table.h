// The module's exported table and the handlers behind it.
#pragma once

#include "zevo/api_table.h"
#include "zevo/export.h"

void CurrentConnectionEnum(ZEVO::APIRequest* request, ZEVO::APIResponse* response);
void CurrentConnectionEnumByUser(ZEVO::APIRequest* request, ZEVO::APIResponse* response);
void CurrentConnectionKickConnection(ZEVO::APIRequest* request, ZEVO::APIResponse* response);
void CurrentConnectionDisableUser(ZEVO::APIRequest* request, ZEVO::APIResponse* response);
void CurrentConnectionDownload(ZEVO::APIRequest* request, ZEVO::APIResponse* response);

extern "C" {

// Six methods of "ZEVO.Core.CurrentConnection" version 1 and the row of zeros that ends the table.
extern ZEVO_EXPORT ApiMethodRow gTable[7];

// The first row of gTable.
ZEVO_EXPORT ApiMethodRow* GetAPITable();

// Does nothing. The listing handlers call it once per request; hosts may look for it.
ZEVO_EXPORT void set_demo_mode();

}  // extern "C"
