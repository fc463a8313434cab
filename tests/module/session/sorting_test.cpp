#include "session/sorting.h"

#include <random>

#include "module/support.h"
#include "session/merge.h"

namespace {

using module_test::lines;
using module_test::session;

// Texts that part early, late, behind the keys' length, at a NUL, at their end, or not at all.
std::vector<std::string> texts() {
  const std::string common(22, 'x');
  std::vector<std::string> all = {"",  std::string(1, '\0'), "a",    std::string("a\0", 2),
                                  "b", "\xC3\xA4",           "\x7F", "2026-11-20 21:26:24"};
  for (const char* end : {"", "1", "11", "112", "11ab", "11\xFF", "11ab longer"}) {
    all.push_back(common + end);
  }
  return all;
}

SessionList scatteredSessions(unsigned seed) {
  std::mt19937 engine(seed);
  const std::vector<std::string> all = texts();
  SessionList list;
  for (std::uint32_t i = 0; i < 200; ++i) {
    const auto any = [&] { return all[engine() % all.size()]; };
    list.push_back(session(static_cast<std::uint32_t>(engine() % 50), any(), any(), any(), any(),
                           engine() % 2 == 0 ? "CIFS" : "SSH"));
  }
  return list;
}

TEST(Sorting, GivesWhatTheListsOwnSortGives) {
  for (unsigned seed = 1; seed <= 50; ++seed) {
    for (const bool ascending : {true, false}) {
      for (int field = 0; field < 5; ++field) {
        const auto by = static_cast<SessionSortField>(field);
        SessionList list = scatteredSessions(seed);
        SessionList expected = list;
        expected.sort(Session::Compare(by, ascending));
        sortSessions(list, by, ascending);
        ASSERT_EQ(lines(list), lines(expected)) << "seed " << seed << ", field " << field;
      }
    }
  }
}

TEST(Sorting, OrdersServicesAsTheirComparisonDoes) {
  for (unsigned seed = 1; seed <= 50; ++seed) {
    SessionList list = scatteredSessions(seed);
    SessionList expected = list;
    expected.sort(SDKSessionCmp);
    sortServices(list);
    ASSERT_EQ(lines(list), lines(expected)) << "seed " << seed;
  }
}

TEST(Sorting, LeavesShortListsAlone) {
  SessionList empty;
  sortServices(empty);
  EXPECT_TRUE(empty.empty());
  SessionList one = {session(1, "t", "w", "f", "d", "CIFS")};
  sortSessions(one, SessionSortField::who, false);
  EXPECT_EQ(lines(one), lines({session(1, "t", "w", "f", "d", "CIFS")}));
}

}  // namespace
