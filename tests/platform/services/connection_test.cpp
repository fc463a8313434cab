#include "services/connection.h"

#include <cstdlib>
#include <memory>

#include <gtest/gtest.h>

namespace zevo::connections {
namespace {

struct Free {
  void operator()(void* block) const { std::free(block); }
};
using Block = std::unique_ptr<_tag_ZEVO_CURCONN_[], Free>;

TEST(ConnectionPackTest, OneBlockHoldsRecordsAndTexts) {
  const Block block(
      pack({{7, "2026-11-20 21:26:24", "10.0.0.9", "alice", "media", ZEVO_CURCONN_CIFS},
            {0, "", "", "", "", ZEVO_CURCONN_NFS}}));
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(block[0].pid, 7);
  EXPECT_STREQ(block[0].time, "2026-11-20 21:26:24");
  EXPECT_STREQ(block[0].from, "10.0.0.9");
  EXPECT_STREQ(block[0].user, "alice");
  EXPECT_STREQ(block[0].descr, "media");
  EXPECT_EQ(block[0].type, ZEVO_CURCONN_CIFS);
  EXPECT_EQ(block[1].pid, 0);
  EXPECT_STREQ(block[1].time, "");
  EXPECT_STREQ(block[1].from, "");
  EXPECT_STREQ(block[1].user, "");
  EXPECT_STREQ(block[1].descr, "");
  EXPECT_EQ(block[1].type, ZEVO_CURCONN_NFS);
}

TEST(ConnectionPackTest, NoRecordsNeedNoBlock) {
  EXPECT_EQ(pack({}), nullptr);
}

TEST(ConnectionCleanTest, EveryTextBecomesUtf8WithoutControlCharacters) {
  Connection connection{7,
                        "a\nb",
                        std::string("10\0x", 4),
                        "al\x1b[2Jice",
                        "m\xFF"
                        "edia",
                        ZEVO_CURCONN_CIFS};
  cleanTexts(connection);
  EXPECT_EQ(connection, (Connection{7, "a\uFFFDb", "10\uFFFDx", "al\uFFFD[2Jice", "m\uFFFDedia",
                                    ZEVO_CURCONN_CIFS}));
}

}  // namespace
}  // namespace zevo::connections
