#include "services/list_text.h"

#include <gtest/gtest.h>

#include "host/service_table.h"
#include "platform/services/print.h"
#include "platform/services/sample_list.h"

namespace zevo::connections {
namespace {

using test::sampleList;

class ListTextTest : public ::testing::Test {
 protected:
  const TimedList list_{std::chrono::nanoseconds(1000), std::chrono::nanoseconds(2000),
                        sampleList(std::string("a\0b\n", 4))};
  const std::string text_ = listText("key", list_);
};

TEST_F(ListTextTest, ComesBackAsItWas) {
  EXPECT_EQ(parseListText(text_, "key", std::chrono::nanoseconds(1000)), list_);
  const TimedList empty;
  EXPECT_EQ(parseListText(listText("", empty), "", {}), empty);
}

TEST_F(ListTextTest, ConnectionsOfEachServiceComeBack) {
  TimedList list;
  for (const ListedService& service : kListedServices) {
    list.list.connections.push_back({.pid = 7,
                                     .time = "2026-11-22 08:00:00",
                                     .from = "10.20.0.2",
                                     .user = "alice",
                                     .descr = {},
                                     .type = service.id});
  }
  EXPECT_EQ(parseListText(listText("key", list), "key", {}), list);
}

TEST_F(ListTextTest, OfAnotherKeyOrTooOldIsNone) {
  EXPECT_FALSE(parseListText(text_, "kez", {}));
  EXPECT_FALSE(parseListText(text_, "key", std::chrono::nanoseconds(1001)));
}

TEST_F(ListTextTest, CutAnywhereIsNone) {
  for (std::size_t size = 0; size < text_.size(); ++size) {
    EXPECT_FALSE(parseListText(std::string_view(text_).substr(0, size), "key", {})) << size;
  }
  EXPECT_FALSE(parseListText(text_ + '\0', "key", {}));
}

TEST_F(ListTextTest, AnyBytesAreReadWithinTheirBounds) {
  for (std::size_t at = 0; at < text_.size(); ++at) {
    for (const char byte : {'\0', '\x01', '\x7F', '\x80', '\xFF'}) {
      std::string text = text_;
      text[at] = byte;
      parseListText(text, "key", {});  // the sanitizers watch
    }
  }
}

}  // namespace
}  // namespace zevo::connections
