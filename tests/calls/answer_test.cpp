#include "calls/answer.h"

#include <set>

#include <gtest/gtest.h>
#include <json/reader.h>

namespace calls {
namespace {

Json::Value json(const std::string& text) {
  Json::Value value;
  EXPECT_TRUE(Json::Reader().parse(text, value)) << text;
  return value;
}

TEST(Answer, ASuccessCarriesItsData) {
  EXPECT_EQ(
      scgiText(successAnswer("{\"total\":0}")),
      "Status: 200 OK\r\nCache-Control: no-store\r\nX-Content-Type-Options: nosniff\r\n"
      "Content-Type: application/json\r\nContent-Length: 21\r\n\r\n{\"data\":{\"total\":0}}\n");
}

TEST(Answer, WarningsStandBesideTheDataAndOnlyWhereThereAreAny) {
  EXPECT_EQ(successAnswer("[1]", json(R"([{"code":"connections_missing"}])")).body,
            "{\"data\":[1],\"warnings\":[{\"code\":\"connections_missing\"}]}\n");
  EXPECT_EQ(successAnswer("[1]", Json::arrayValue).body, "{\"data\":[1]}\n");
}

TEST(Answer, AProblemIsADocumentWithItsCode) {
  const Answer answer = problemAnswer(Problem::kTooFewAdministrators);
  EXPECT_EQ(answer.status, 409);
  const Json::Value document = json(answer.body);
  EXPECT_EQ(document["status"], 409);
  EXPECT_EQ(document["code"], 7100);
  EXPECT_EQ(document["type"], "about:blank");
  EXPECT_EQ(document["title"], "Conflict");
  EXPECT_FALSE(document.isMember("causes"));
  EXPECT_EQ(scgiText(answer).substr(0, 22), "Status: 409 Conflict\r\n");
}

TEST(Answer, CausesGoIntoTheDocument) {
  EXPECT_EQ(json(methodFailureAnswer(117, {"a \"b\"", "c"}).body)["causes"],
            json(R"(["a \"b\"","c"])"));
}

TEST(Answer, AMethodsCodeDecidesTheStatus) {
  const Json::Value warnings = json(R"([{"code":"still_let_in","service":"CIFS"}])");
  EXPECT_EQ(json(methodFailureAnswer(117, {}, warnings).body)["warnings"], warnings);
  EXPECT_FALSE(json(methodFailureAnswer(117, {}).body).isMember("warnings"));
  EXPECT_EQ(methodFailureAnswer(105, {}).status, 403);
  EXPECT_EQ(methodFailureAnswer(117, {}).status, 500);
  EXPECT_EQ(methodFailureAnswer(7100, {}).status, 409);
}

TEST(Answer, AMethodsUnknownCodeStaysWhatItIs) {
  const Answer answer = methodFailureAnswer(4711, {});
  EXPECT_EQ(answer.status, 500);
  EXPECT_EQ(json(answer.body)["code"], 4711);
}

TEST(Answer, SaysWhichMethodsAPathTakesAndWhenToTryAgain) {
  EXPECT_NE(scgiText(wrongMethodAnswer("POST")).find("\r\nAllow: POST\r\n"), std::string::npos);
  EXPECT_NE(scgiText(problemAnswer(Problem::kBusy)).find("\r\nRetry-After: "), std::string::npos);
}

TEST(Answer, EveryProblemHasItsRow) {
  for (int problem = 0; problem <= static_cast<int>(Problem::kTooLate); ++problem) {
    const ProblemRow& row = rowOf(static_cast<Problem>(problem));
    EXPECT_TRUE(row.code == row.status || row.code == 105 || row.code == 117 || row.code == 7100);
    EXPECT_NE(std::string(row.title), "");
    EXPECT_NE(std::string(row.detail), "");
  }
  EXPECT_EQ(rowOf(Problem::kMalformed).status, 400);
  EXPECT_EQ(rowOf(Problem::kWrongMethod).status, 405);
  EXPECT_EQ(rowOf(Problem::kTooLate).status, 504);
}

TEST(PassedThrough, KeepsTheMethodsOwnHeaderLines) {
  EXPECT_EQ(passedThroughText("Content-Type:application/xxx\r\n"
                              "Content-Disposition:attachment; filename=\"a.html\"\r\n\r\n<html>"),
            "Status: 200 OK\r\nCache-Control: no-store\r\nX-Content-Type-Options: nosniff\r\n"
            "Content-Type:application/xxx\r\n"
            "Content-Disposition:attachment; filename=\"a.html\"\r\n"
            "Content-Length: 6\r\n\r\n<html>");
}

TEST(PassedThrough, TakesLinesThatEndInALineFeedAlone) {
  EXPECT_NE(passedThroughText("Content-Type: text/html\n\nx"), "");
}

TEST(PassedThrough, RefusesWhatIsNoAnswer) {
  for (const char* output :
       {"", "\r\n", "\r\nbody", "Content-Type: a", "Content-Type: a\r\n", "garbage\r\n\r\nx",
        "Content Type: a\r\n\r\nx", ": a\r\n\r\nx", "A: \x01\r\n\r\nx",
        "A: b\rStatus: 500\r\n\r\nx", "Status: 302 Found\r\n\r\nx", "content-length: 5\r\n\r\nx"}) {
    EXPECT_EQ(passedThroughText(output), "") << output;
  }
}

}  // namespace
}  // namespace calls
