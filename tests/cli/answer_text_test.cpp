#include "answer_text.h"

#include <string>

#include <gtest/gtest.h>

namespace cli {
namespace {

const Answer kRefusal = {Answer::Status::kRefused, 117, "null", {"first, with 3:abc", "", "third"}};

TEST(AnswerText, CarriesAnAnswerAsItWas) {
  EXPECT_EQ(answerFromText(textOfAnswer(kRefusal)), kRefusal);
  const Answer done = {Answer::Status::kDone, 0, std::string("{\"a\":1}\n\0\xFF", 10), {}};
  EXPECT_EQ(answerFromText(textOfAnswer(done)), done);
  Answer warned = done;
  warned.warnings = {{"connections_missing", "LOGIN", "a \"b\": \xC3\xA9"}, {"x", "", ""}};
  EXPECT_EQ(answerFromText(textOfAnswer(warned)), warned);
}

TEST(AnswerText, RefusesEveryPartOfAnAnswer) {
  const std::string text = textOfAnswer(kRefusal);
  for (std::size_t length = 0; length < text.size(); ++length) {
    EXPECT_EQ(answerFromText(text.substr(0, length)), std::nullopt) << length;
  }
}

TEST(AnswerText, RefusesWhatFollowsAnAnswer) {
  EXPECT_EQ(answerFromText(textOfAnswer(kRefusal) + "x"), std::nullopt);
}

TEST(AnswerText, RefusesNumbersOutOfRange) {
  EXPECT_EQ(answerFromText("1:91:01:00:"), std::nullopt);
  EXPECT_EQ(answerFromText("99999999999999999999:1"), std::nullopt);
  EXPECT_EQ(answerFromText("-1:x"), std::nullopt);
}

}  // namespace
}  // namespace cli
