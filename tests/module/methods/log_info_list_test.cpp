#include "methods/log_info_list.h"

#include <cstdlib>
#include <set>

#include "methods/record_store.h"
#include "module/support.h"

namespace {

using ::testing::ElementsAre;

const fakes::LogLine kPopError = {3, "%s:%d Error happened in log info list .",
                                  "main:454 Error happened in log info list ."};

class LogInfo : public module_test::ModuleTest {
 protected:
  LogInfo() { gLogInfoLastText = last_; }
  ~LogInfo() override {
    LogInfoNodesClear();
    gLogInfoLastText = nullptr;
  }

  // A list of one text with its head or its tail taken away.
  LogInfoList withoutHead() {
    LogInfoListAppend(&whole_, "text");
    return {whole_.tail, nullptr};
  }
  LogInfoList withoutTail() {
    LogInfoListAppend(&whole_, "text");
    return {nullptr, whole_.head};
  }

  char last_[10] = "last text";
  LogInfoList whole_ = {nullptr, nullptr};
};

TEST_F(LogInfo, ListIsEmptyAtFirst) {
  const LogInfoList* list = newLogInfoList();
  EXPECT_EQ(list->head, nullptr);
  EXPECT_EQ(list->tail, nullptr);
}

TEST_F(LogInfo, ComesOffInTheOrderInWhichItWasAppended) {
  for (const char* text : {"a", "b", "", "c"}) EXPECT_EQ(LogInfoListAppend(&whole_, text), &whole_);
  for (const char* text : {"a", "b", "", "c"}) EXPECT_STREQ(LogInfoListPop(&whole_), text);
}

TEST_F(LogInfo, KeepsCopiesOfTheTexts) {
  char text[] = "text";
  LogInfoListAppend(&whole_, text);
  text[0] = 'n';
  EXPECT_STREQ(LogInfoListPop(&whole_), "text");
}

TEST_F(LogInfo, IsEmptyAgainAfterTheLastPop) {
  LogInfoListAppend(&whole_, "a");
  LogInfoListPop(&whole_);
  EXPECT_EQ(whole_.head, nullptr);
  EXPECT_EQ(whole_.tail, nullptr);
  EXPECT_EQ(LogInfoListAppend(&whole_, "b"), &whole_);
  EXPECT_STREQ(LogInfoListPop(&whole_), "b");
}

TEST_F(LogInfo, RemembersTheLastText) {
  LogInfoListAppend(&whole_, "a");
  LogInfoListAppend(&whole_, "b");
  EXPECT_EQ(LogInfoListPop(&whole_), gLogInfoLastText);
  EXPECT_STREQ(gLogInfoLastText, "a");
}

TEST_F(LogInfo, RepeatsTheLastTextWhereItIsExhausted) {
  LogInfoListAppend(&whole_, "a");
  LogInfoListPop(&whole_);
  EXPECT_STREQ(LogInfoListPop(&whole_), "a");
  EXPECT_STREQ(LogInfoListPop(&whole_), "a");
}

TEST_F(LogInfo, YieldsNullWhereNothingEverCameOff) {
  gLogInfoLastText = nullptr;
  EXPECT_EQ(LogInfoListPop(&whole_), nullptr);
}

TEST_F(LogInfo, IsNotAppendedToANullList) {
  EXPECT_EQ(LogInfoListAppend(nullptr, "text"), nullptr);
  EXPECT_THAT(platform.systemLog.lines(),
              ElementsAre(fakes::LogLine{
                  3, "%s:%d While download the log informaition list is not initialized .",
                  "main:430 While download the log informaition list is not initialized ."}));
}

TEST_F(LogInfo, IsNotAppendedToAnInconsistentList) {
  LogInfoList list = withoutHead();
  const LogInfoList before = list;
  EXPECT_EQ(LogInfoListAppend(&list, "more"), nullptr);
  EXPECT_EQ(list.head, nullptr);
  EXPECT_EQ(list.tail, before.tail);
  EXPECT_EQ(list.tail->next, nullptr);
  EXPECT_THAT(platform.systemLog.lines(),
              ElementsAre(fakes::LogLine{3, "%s:%d Error happened in log info list .",
                                         "main:434 Error happened in log info list ."}));
}

TEST_F(LogInfo, IsNotAppendedToAListWithoutTail) {
  LogInfoList list = withoutTail();
  EXPECT_EQ(LogInfoListAppend(&list, "more"), nullptr);
  EXPECT_EQ(list.tail, nullptr);
  EXPECT_EQ(list.head->next, nullptr);
  EXPECT_THAT(platform.systemLog.texts(),
              ElementsAre("3 main:434 Error happened in log info list ."));
}

TEST_F(LogInfo, RepeatsTheLastTextWhereTheHeadIsMissing) {
  LogInfoList list = withoutHead();
  EXPECT_STREQ(LogInfoListPop(&list), "last text");
  EXPECT_NE(list.tail, nullptr);
  EXPECT_THAT(platform.systemLog.lines(), ElementsAre(kPopError));
}

TEST_F(LogInfo, RepeatsTheLastTextWhereTheTailIsMissing) {
  LogInfoList list = withoutTail();
  EXPECT_STREQ(LogInfoListPop(&list), "last text");
  EXPECT_NE(list.head, nullptr);
  EXPECT_THAT(platform.systemLog.lines(), ElementsAre(kPopError));
}

TEST_F(LogInfo, RepeatsTheLastTextSilentlyWhereTheTableHasNoList) {
  LogInfoTable table = {5, nullptr};
  EXPECT_STREQ(LogInfoListPop(&table), "last text");
}

TEST_F(LogInfo, ComesOffThroughItsTable) {
  LogInfoListAppend(&whole_, "a");
  LogInfoTable table = {5, &whole_};
  EXPECT_STREQ(LogInfoListPop(&table), "a");
}

TEST_F(LogInfo, DrainsToAnEmptyList) {
  for (const char* text : {"a", "b", "c"}) LogInfoListAppend(&whole_, text);
  LogInfoListDrain(&whole_);
  EXPECT_EQ(whole_.head, nullptr);
  EXPECT_EQ(whole_.tail, nullptr);
  EXPECT_STREQ(gLogInfoLastText, "c");
}

TEST_F(LogInfo, DrainsNothingWithoutAHead) {
  LogInfoList list = withoutHead();
  LogInfoListDrain(&list);
  EXPECT_NE(list.tail, nullptr);
}

TEST_F(LogInfo, NeverStopsDrainingAListWithoutTail) {
  LogInfoList list = withoutTail();
  const LogInfoNode* head = list.head;
  int lines = 0;
  platform.systemLog.onLine = [&](const fakes::LogLine& line) {
    // The same head again and again: what else would be an end.
    if (!(line == kPopError) || list.head != head) std::_Exit(1);
    if (++lines == 1000) std::_Exit(42);
  };
  EXPECT_EXIT(LogInfoListDrain(&list), ::testing::ExitedWithCode(42), "");
}

TEST(RecordStore, KeepsReleasedRecordsUntilItIsCleared) {
  RecordStore<int> store;
  std::vector<int*> records;
  for (int i = 0; i < 5000; ++i) {
    records.push_back(store.allocate());
    *records.back() = i;
    store.release(records.back());
    store.release(records.back());
  }
  EXPECT_EQ(std::set<int*>(records.begin(), records.end()).size(), 5000U);
  for (int i = 0; i < 5000; ++i) ASSERT_EQ(*records[static_cast<std::size_t>(i)], i);
}

TEST(RecordStore, ServesAgainAfterItIsCleared) {
  RecordStore<int> store;
  *store.allocate() = 1;
  store.clear();
  EXPECT_EQ(*store.allocate(), 0);
}

}  // namespace
