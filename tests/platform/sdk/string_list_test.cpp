#include "zevo/string_list.h"

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "zevo/error.h"

namespace {

TEST(StringList, HoldsCopiesInTheOrderOfTheirPushes) {
  VLIBCSzList* list = VLIBCSzListAlloc(512);
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(list->size, 512);
  EXPECT_EQ(list->nItem, 0);
  std::string text = "alice";
  EXPECT_EQ(VLIBCSzListPush(&list, text.c_str()), 0);
  text = "overwritten";
  EXPECT_EQ(VLIBCSzListPush(&list, "bob"), 1);
  EXPECT_EQ(VLIBCSzListPush(&list, ""), 2);
  ASSERT_EQ(list->nItem, 3);
  EXPECT_STREQ(list->pszItem[0], "alice");
  EXPECT_STREQ(list->pszItem[1], "bob");
  EXPECT_STREQ(list->pszItem[2], "");
  VLIBCSzListFree(list);
}

TEST(StringList, GrowsBehindItsInitialBuffer) {
  VLIBCSzList* list = VLIBCSzListAlloc(0);
  for (int i = 0; i < 10000; ++i) ASSERT_EQ(VLIBCSzListPush(&list, std::to_string(i).c_str()), i);
  ASSERT_EQ(list->nItem, 10000);
  for (int i = 0; i < 10000; ++i) ASSERT_EQ(list->pszItem[i], std::to_string(i));
  EXPECT_GE(list->size, 10000 * 4);
  VLIBCSzListFree(list);
}

TEST(StringList, SetsTheErrorWhereItFails) {
  ZEVO_ERR_SET(ZEVO_ERR_NONE);
  EXPECT_EQ(VLIBCSzListAlloc(-1), nullptr);
  EXPECT_EQ(VLIBCErrGet(), ZEVO_ERR_OUT_OF_MEMORY);
  VLIBCSzList* list = nullptr;
  EXPECT_LT(VLIBCSzListPush(&list, "x"), 0);
  EXPECT_EQ(VLIBCErrGet(), ZEVO_ERR_BAD_TEXT);
  list = VLIBCSzListAlloc(1);
  EXPECT_LT(VLIBCSzListPush(&list, nullptr), 0);
  EXPECT_EQ(list->nItem, 0);
  VLIBCSzListFree(list);
  VLIBCSzListFree(nullptr);
}

}  // namespace
