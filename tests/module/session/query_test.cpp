#include "session/query.h"

#include "module/support.h"

namespace {

using module_test::lines;
using module_test::session;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;

class Query : public module_test::ModuleTest {
 protected:
  Query() { platform.upperCasing.allow(); }

  // The five fields in the order in which a query looks at them.
  Session alice = session(445, "time5", "who1", "from2", "descr4", "type3");
};

TEST_F(Query, FindsANeedleInEachFieldAndLooksNoFurther) {
  const std::vector<std::string> fields = {"who1", "from2", "type3", "descr4", "time5"};
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const std::string needle(1, static_cast<char>('1' + i));
    const std::size_t before = platform.upperCasing.uses().size();
    EXPECT_TRUE(alice.withQuery(needle.c_str()));
    const std::vector<std::string> sources = platform.upperCasing.sources();
    EXPECT_THAT(std::vector<std::string>(sources.begin() + static_cast<std::ptrdiff_t>(before),
                                         sources.end()),
                ::testing::ElementsAreArray(fields.begin(),
                                            fields.begin() + static_cast<std::ptrdiff_t>(i + 1)));
  }
}

TEST_F(Query, LooksAtAllFiveFieldsAndNeverAtThePid) {
  EXPECT_FALSE(alice.withQuery("445"));
  EXPECT_THAT(platform.upperCasing.sources(),
              ElementsAre("who1", "from2", "type3", "descr4", "time5"));
}

TEST_F(Query, UsesOneZeroedBufferOf4587Bytes) {
  EXPECT_FALSE(alice.withQuery("NOWHERE"));
  const auto& uses = platform.upperCasing.uses();
  EXPECT_THAT(uses, ::testing::Each(
                        AllOf(Field(&fakes::UpperCasing::Use::size, 4587),
                              Field(&fakes::UpperCasing::Use::destination, uses[0].destination))));
  EXPECT_TRUE(uses[0].zeroed);
}

TEST_F(Query, MatchesTheUpperCasedFieldWithTheNeedleAsItIs) {
  EXPECT_TRUE(alice.withQuery("HO1"));
  EXPECT_FALSE(alice.withQuery("ho1"));
}

TEST_F(Query, MatchesEverythingWithAnEmptyNeedle) {
  EXPECT_TRUE(alice.withQuery(""));
}

TEST_F(Query, LogsAFieldThatCannotBeUpperCasedAndGoesOn) {
  for (const char* field : {"who1", "from2", "type3", "descr4"}) {
    platform.upperCasing.failFor(field);
  }
  EXPECT_TRUE(alice.withQuery("5"));
  EXPECT_THAT(platform.systemLog.texts(),
              ElementsAre("3 main:301 VLIBCUnicodeUTF8StrUpper failed, str=who1.",
                          "3 main:302 VLIBCUnicodeUTF8StrUpper failed, str=from2.",
                          "3 main:303 VLIBCUnicodeUTF8StrUpper failed, str=type3.",
                          "3 main:304 VLIBCUnicodeUTF8StrUpper failed, str=descr4."));
  EXPECT_EQ(platform.systemLog.lines()[0].format, "%s:%d VLIBCUnicodeUTF8StrUpper failed, str=%s.");
}

TEST_F(Query, NeverMatchesAFieldThatCannotBeUpperCased) {
  for (const char* field : {"who1", "from2", "type3", "descr4", "time5"}) {
    platform.upperCasing.failFor(field);
  }
  for (const char* needle : {"1", "2", "3", "4", "5", ""}) EXPECT_FALSE(alice.withQuery(needle));
  EXPECT_EQ(platform.systemLog.lines().size(), 30U);
}

TEST_F(Query, DoesNotFindAFieldThatIsTooLong) {
  alice.who = std::string(4587, 'x');
  EXPECT_FALSE(alice.withQuery("X"));
  EXPECT_EQ(platform.systemLog.lines().size(), 1U);
}

TEST_F(Query, FindsTheEndOfTheLongestField) {
  alice.who = std::string(4585, 'x') + "y";
  EXPECT_TRUE(alice.withQuery("XY"));
}

TEST_F(Query, MatchesAUserByTheWholeName) {
  alice.who = "Alice";
  EXPECT_TRUE(alice.withUserQuery("ALICE"));
  EXPECT_FALSE(alice.withUserQuery("ALIC"));
  EXPECT_FALSE(alice.withUserQuery("ALICEA"));
  EXPECT_FALSE(alice.withUserQuery("Alice"));
  EXPECT_FALSE(alice.withUserQuery(""));
  EXPECT_THAT(platform.upperCasing.uses(),
              ::testing::Each(AllOf(Field(&fakes::UpperCasing::Use::source, "Alice"),
                                    Field(&fakes::UpperCasing::Use::size, 4587),
                                    Field(&fakes::UpperCasing::Use::zeroed, true))));
}

TEST_F(Query, LogsAUserWhoCannotBeUpperCased) {
  alice.who = "Alice";
  platform.upperCasing.failFor("Alice");
  EXPECT_FALSE(alice.withUserQuery("ALICE"));
  EXPECT_THAT(platform.systemLog.lines(),
              ElementsAre(fakes::LogLine{3, "%s:%d VLIBCUnicodeUTF8StrUpper failed, str=%s.",
                                         "main:320 VLIBCUnicodeUTF8StrUpper failed, str=Alice."}));
}

class Filter : public module_test::ModuleTest {
 protected:
  Filter() { platform.upperCasing.allow(); }

  SessionList list = {session(1, "t", "alice", "f", "d", "CIFS"),
                      session(2, "t", "Cifsy", "f", "d", "AFP"),
                      session(3, "t", "bob", "CIFS-host", "d", "AFP"),
                      session(4, "t", "bob", "f", "my cIfS share", "AFP"),
                      session(5, "cifs o'clock", "bob", "f", "d", "AFP"),
                      session(6, "t", "bob", "f", "d", "AFP")};
};

TEST_F(Filter, KeepsWhatContainsTheTextInAnyLetterCase) {
  EXPECT_TRUE(FilterSessionList("cifs", list));
  EXPECT_THAT(lines(list),
              ElementsAre("1|t|alice|f|d|CIFS", "2|t|Cifsy|f|d|AFP", "3|t|bob|CIFS-host|d|AFP",
                          "4|t|bob|f|my cIfS share|AFP", "5|cifs o'clock|bob|f|d|AFP"));
}

TEST_F(Filter, RemovesAllWhereNothingMatches) {
  EXPECT_TRUE(FilterSessionList("nowhere", list));
  EXPECT_THAT(list, IsEmpty());
}

TEST_F(Filter, UpperCasesTheTextOnceIntoAZeroedBufferOf4587Bytes) {
  EXPECT_TRUE(FilterSessionList("cifs", list));
  const std::vector<std::string> sources = platform.upperCasing.sources();
  EXPECT_EQ(std::count(sources.begin(), sources.end(), "cifs"), 1);
  EXPECT_EQ(sources[0], "cifs");
  EXPECT_EQ(platform.upperCasing.uses()[0].size, 4587);
  EXPECT_TRUE(platform.upperCasing.uses()[0].zeroed);
}

TEST_F(Filter, LeavesTheListWholeWhereTheTextCannotBeUpperCased) {
  platform.upperCasing.failFor("cifs");
  const std::vector<std::string> before = lines(list);
  EXPECT_FALSE(FilterSessionList("cifs", list));
  EXPECT_EQ(lines(list), before);
  EXPECT_THAT(platform.systemLog.lines(),
              ElementsAre(fakes::LogLine{3, "%s:%d VLIBCUnicodeUTF8StrUpper failed, str=%s.",
                                         "main:340 VLIBCUnicodeUTF8StrUpper failed, str=cifs."}));
  EXPECT_THAT(platform.upperCasing.sources(), ElementsAre("cifs"));
}

TEST_F(Filter, FailsForATextThatIsTooLong) {
  EXPECT_FALSE(FilterSessionList(std::string(4587, 'x'), list));
  EXPECT_EQ(list.size(), 6U);
  EXPECT_EQ(platform.systemLog.lines().size(), 1U);
}

TEST_F(Filter, DropsARecordWhoseFieldCannotBeUpperCased) {
  platform.upperCasing.failFor("Cifsy");
  EXPECT_TRUE(FilterSessionList("cifs", list));
  EXPECT_EQ(list.size(), 4U);
  EXPECT_EQ(platform.systemLog.lines().size(), 1U);
}

TEST_F(Filter, WorksOnAnEmptyList) {
  SessionList empty;
  EXPECT_TRUE(FilterSessionList("cifs", empty));
  EXPECT_THAT(empty, IsEmpty());
}

bool before(SessionSortField field, bool ascending, const Session& a, const Session& b) {
  return Session::Compare(field, ascending)(a, b);
}

TEST(SortOrder, IsThatOfTheChosenFieldInEitherDirection) {
  const Session low = session(1, "a", "a", "a", "a", "a");
  for (const SessionSortField field :
       {SessionSortField::time, SessionSortField::who, SessionSortField::from,
        SessionSortField::descr, SessionSortField::type}) {
    Session high = low;
    (field == SessionSortField::time    ? high.time
     : field == SessionSortField::who   ? high.who
     : field == SessionSortField::from  ? high.from
     : field == SessionSortField::descr ? high.descr
                                        : high.type) = "ab";
    EXPECT_TRUE(before(field, true, low, high));
    EXPECT_FALSE(before(field, true, high, low));
    EXPECT_TRUE(before(field, false, high, low));
    EXPECT_FALSE(before(field, false, low, high));
    EXPECT_FALSE(before(field, true, high, high));
    EXPECT_FALSE(before(field, false, high, high));
  }
}

TEST(SortOrder, ComparesTextAsUnsignedBytes) {
  const Session nine = session(1, "9", "z", "", "", "");
  const Session ten = session(1, "10", "\xC3\xA4", "", "", "");
  EXPECT_TRUE(before(SessionSortField::time, true, ten, nine));
  EXPECT_TRUE(before(SessionSortField::who, true, nine, ten));
}

TEST(SortOrder, KeepsTheOrderOfEqualKeysInBothDirections) {
  const SessionList collected = {session(1, "2", "bob", "", "", ""),
                                 session(2, "1", "alice", "", "", ""),
                                 session(3, "3", "bob", "", "", "")};
  SessionList ascending = collected;
  ascending.sort(Session::Compare(SessionSortField::who, true));
  EXPECT_THAT(lines(ascending), ElementsAre("2|1|alice|||", "1|2|bob|||", "3|3|bob|||"));
  SessionList descending = collected;
  descending.sort(Session::Compare(SessionSortField::who, false));
  EXPECT_THAT(lines(descending), ElementsAre("1|2|bob|||", "3|3|bob|||", "2|1|alice|||"));
}

TEST(SortField, IsNamedExactly) {
  EXPECT_EQ(sortFieldOf("time"), SessionSortField::time);
  EXPECT_EQ(sortFieldOf("who"), SessionSortField::who);
  EXPECT_EQ(sortFieldOf("from"), SessionSortField::from);
  EXPECT_EQ(sortFieldOf("descr"), SessionSortField::descr);
  EXPECT_EQ(sortFieldOf("type"), SessionSortField::type);
  EXPECT_EQ(static_cast<int>(SessionSortField::type), 4);
}

TEST(SortField, IsTimeForAnyOtherText) {
  for (const std::string& text : std::vector<std::string>{"", "WHO", "Who", "who ", "pid", "typ",
                                                          "types", std::string("who\0", 4)}) {
    EXPECT_EQ(sortFieldOf(text), SessionSortField::time) << text;
  }
}

TEST(SortDirection, IsAscendingForAscInAnyLetterCase) {
  for (const char* text : {"ASC", "asc", "Asc", "aSC"}) EXPECT_TRUE(isAscending(text)) << text;
}

TEST(SortDirection, IsDescendingForAnyOtherText) {
  for (const std::string& text : std::vector<std::string>{
           "", "DESC", "AS", "ASCE", "ascending", " asc", "asc ", std::string("asc\0", 4)}) {
    EXPECT_FALSE(isAscending(text)) << text;
  }
}

}  // namespace
