#include "api/api_table.h"

#include <gtest/gtest.h>

namespace {

void expectRow(const ApiMethodRow& row, const char* method, ApiHandler handler) {
  EXPECT_STREQ(row.api, "ZEVO.Core.CurrentConnection");
  EXPECT_EQ(row.version, 1);
  EXPECT_STREQ(row.method, method);
  EXPECT_EQ(row.handler, handler);
}

TEST(ApiTable, IsTheExportedArray) {
  EXPECT_EQ(GetAPITable(), &gTable[0]);
}

TEST(ApiTable, HoldsTheSixMethodsInOrder) {
  expectRow(gTable[0], "list", CurrentConnectionEnum);
  expectRow(gTable[1], "get", CurrentConnectionEnum);
  expectRow(gTable[2], "list_by_user", CurrentConnectionEnumByUser);
  expectRow(gTable[3], "kick_connection", CurrentConnectionKickConnection);
  expectRow(gTable[4], "disable_user", CurrentConnectionDisableUser);
  expectRow(gTable[5], "download", CurrentConnectionDownload);
}

TEST(ApiTable, EndsWithARowOfZeros) {
  ASSERT_EQ(sizeof gTable, 7 * 32U);
  EXPECT_EQ(gTable[6].api, nullptr);
  EXPECT_EQ(gTable[6].version, 0);
  EXPECT_EQ(gTable[6].method, nullptr);
  EXPECT_EQ(gTable[6].handler, nullptr);
}

TEST(ApiTable, IsWritable) {
  ApiMethodRow& row = gTable[6];
  row.version = 2;
  EXPECT_EQ(GetAPITable()[6].version, 2);
  row.version = 0;
}

}  // namespace
