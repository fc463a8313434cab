#include <random>

#include "api/api_table.h"
#include "module/reference.h"
#include "module/support.h"
#include "session/merge.h"
#include "session/query.h"

namespace {

using module_test::lines;
using module_test::linesOf;
using module_test::listOf;
using module_test::Row;

constexpr unsigned kLists = 2000;

// Random values out of small sets, so that equal ones are frequent.
class Dice {
 public:
  explicit Dice(unsigned seed) : engine_(seed) {}

  int number(int low, int high) { return std::uniform_int_distribution<>(low, high)(engine_); }

  std::string oneOf(const std::vector<std::string>& texts) {
    return texts[static_cast<std::size_t>(number(0, static_cast<int>(texts.size()) - 1))];
  }

  std::vector<Row> rows(const std::vector<std::string>& types) {
    std::vector<Row> rows;
    for (int count = number(0, 30); count > 0; --count)
      rows.push_back({static_cast<std::uint32_t>(number(0, 6)),
                      oneOf({"", "1", "10", "2", "2026-11-20 21:26:24"}),
                      oneOf({"", "alice", "Alice", "bob", "b"}), oneOf({"", "1", "2", "10.0.0.1"}),
                      oneOf({"", "a", "b", "a, b", "Media", "\xC3\xA4"}), oneOf(types)});
    return rows;
  }

 private:
  std::mt19937 engine_;
};

const std::vector<std::string> kTypes = {"CIFS", "AFP", "NFS", "NFS", "HTTP/HTTPS"};

// NFS and other records never share a pid, or their order would be a circle.
std::vector<Row> withNfsApart(std::vector<Row> rows) {
  for (Row& row : rows) row.pid += row.type == "NFS" ? 100U : 0U;
  return rows;
}

TEST(RandomLists, FoldAsTheReferenceFoldsServices) {
  for (unsigned seed = 1; seed <= kLists; ++seed) {
    const std::vector<Row> rows = Dice(seed).rows(kTypes);
    SessionList list = listOf(rows);
    SDKSessionListMerge(list);
    ASSERT_EQ(lines(list), linesOf(foldedServices(rows))) << "seed " << seed;
  }
}

TEST(RandomLists, SortAndFoldAsTheReferenceDoesWithServices) {
  for (unsigned seed = 1; seed <= kLists; ++seed) {
    const std::vector<Row> rows = withNfsApart(Dice(seed).rows(kTypes));
    SessionList list = listOf(rows);
    list.sort(SDKSessionCmp);
    ASSERT_EQ(lines(list), linesOf(sortedServices(rows))) << "seed " << seed;
    SDKSessionListMerge(list);
    ASSERT_EQ(lines(list), linesOf(foldedServices(sortedServices(rows)))) << "seed " << seed;
  }
}

TEST(RandomLists, FoldAsTheReferenceFoldsLogins) {
  for (unsigned seed = 1; seed <= kLists; ++seed) {
    const std::vector<Row> rows = Dice(seed).rows({"HTTP/HTTPS"});
    SessionList list = listOf(rows);
    HttpSessionListMerge(list);
    ASSERT_EQ(lines(list), linesOf(foldedLogins(rows))) << "seed " << seed;
  }
}

TEST(RandomLists, SortAndFoldAsTheReferenceDoesWithLogins) {
  for (unsigned seed = 1; seed <= kLists; ++seed) {
    const std::vector<Row> rows = Dice(seed).rows({"HTTP/HTTPS"});
    SessionList list = listOf(rows);
    list.sort(HttpSessionCmp);
    ASSERT_EQ(lines(list), linesOf(sortedLogins(rows))) << "seed " << seed;
    HttpSessionListMerge(list);
    ASSERT_EQ(lines(list), linesOf(foldedLogins(sortedLogins(rows)))) << "seed " << seed;
  }
}

class RandomCalls : public module_test::ModuleTest {
 protected:
  RandomCalls() {
    platform.upperCasing.allow();
    platform.clock.set(1795212000, "now\n");
    for (const char* name : {"alice", "Alice", "bob", "b"}) platform.accounts.add(name, 1000);
  }
};

TEST_F(RandomCalls, FilterAsTheReferenceFilters) {
  for (unsigned seed = 1; seed <= kLists; ++seed) {
    Dice dice(seed);
    const std::vector<Row> rows = dice.rows(kTypes);
    const std::string filter =
        dice.oneOf({"a", "ALICE", "ice", "cifs", "/h", "1", "0", "zz", "20"});
    SessionList list = listOf(rows);
    ASSERT_TRUE(FilterSessionList(filter, list));
    ASSERT_EQ(lines(list), linesOf(filtered(rows, filter))) << "seed " << seed;
    platform.calls.clear();
  }
}

// One call of "list" over random connections, with random parameters.
struct RandomCall {
  std::vector<fakes::Record> services;
  std::vector<fakes::Record> logins;
  Json::Value parameters;
};

constexpr int kTypeIds[] = {ZEVO_CURCONN_CIFS, ZEVO_CURCONN_AFP, ZEVO_CURCONN_SSH};

RandomCall randomCall(Dice& dice) {
  RandomCall call;
  for (const Row& row : dice.rows({"0", "1", "2"}))
    call.services.push_back({static_cast<int>(row.pid), row.time, row.from, row.who, row.descr,
                             kTypeIds[row.type[0] - '0']});
  for (const Row& row : dice.rows({"HTTP/HTTPS"}))
    call.logins.push_back(
        {static_cast<int>(row.pid), row.time, row.from, row.who, row.descr, ZEVO_CURCONN_HTTP});
  call.parameters["filter"] = dice.oneOf({"", "", "a", "B", "cifs", "2026"});
  call.parameters["sort_by"] = dice.oneOf({"time", "who", "from", "descr", "type", "pid"});
  call.parameters["sort_direction"] = dice.oneOf({"ASC", "asc", "DESC", ""});
  call.parameters["start"] = dice.number(-5, 40);
  call.parameters["limit"] = dice.number(-2, 20);
  return call;
}

std::string nameOf(int type) {
  return type == ZEVO_CURCONN_CIFS  ? "CIFS"
         : type == ZEVO_CURCONN_AFP ? "AFP"
         : type == ZEVO_CURCONN_SSH ? "SSH"
                                    : "HTTP/HTTPS";
}

// The records as the collectors meet them: from the last to the first.
std::vector<Row> reversed(const std::vector<fakes::Record>& records) {
  std::vector<Row> rows;
  for (auto record = records.rbegin(); record != records.rend(); ++record)
    rows.push_back({static_cast<std::uint32_t>(record->pid), record->time, record->user,
                    record->from, record->descr, nameOf(record->type)});
  return rows;
}

std::vector<Row> expectedRows(const RandomCall& call) {
  std::vector<Row> rows = foldedServices(sortedServices(reversed(call.services)));
  const std::vector<Row> logins = foldedLogins(sortedLogins(reversed(call.logins)));
  rows.insert(rows.end(), logins.begin(), logins.end());
  rows = filtered(rows, call.parameters["filter"].asString());
  return sortedBy(rows, call.parameters["sort_by"].asString(),
                  call.parameters["sort_direction"].asString());
}

std::vector<std::string> linesOfItems(const Json::Value& items) {
  std::vector<Row> rows;
  for (const Json::Value& item : items)
    rows.push_back({item["pid"].asUInt(), item["time"].asString(), item["who"].asString(),
                    item["from"].asString(), item["descr"].asString(), item["type"].asString()});
  return linesOf(rows);
}

TEST_F(RandomCalls, AnswerThePageThatTheReferenceCuts) {
  for (unsigned seed = 1; seed <= kLists; ++seed) {
    Dice dice(seed);
    const RandomCall call = randomCall(dice);
    platform.services.answer(call.services);
    platform.logins.answer(call.logins);
    ZEVO::RequestContext context = module_test::byAdministrator();
    context.parameters = call.parameters;
    const fakes::Outcome outcome = module_test::outcomeOf(CurrentConnectionEnum, context, platform);
    const std::vector<Row> rows = expectedRows(call);
    ASSERT_EQ(outcome.data["total"], static_cast<int>(rows.size())) << "seed " << seed;
    ASSERT_EQ(
        linesOfItems(outcome.data["items"]),
        linesOf(pageOf(rows, call.parameters["start"].asInt(), call.parameters["limit"].asInt())))
        << "seed " << seed;
    platform.calls.clear();
  }
}

}  // namespace
