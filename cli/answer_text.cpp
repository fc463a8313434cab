#include "answer_text.h"

#include <charconv>
#include <cstddef>
#include <string_view>
#include <system_error>
#include <utility>

#include "json_text.h"

namespace cli {
namespace {

// Numbers and texts follow one another; a text is its length, a colon and its bytes, a number is
// the text of its digits.
void putText(std::string_view text, std::string* out) {
  out->append(std::to_string(text.size())).append(":").append(text);
}

class AnswerReader {
 public:
  explicit AnswerReader(std::string_view text) : rest_(text) {}

  bool takeText(std::string_view* text) {
    std::size_t length = 0;
    const char* end = rest_.data() + rest_.size();
    const auto [colon, error] = std::from_chars(rest_.data(), end, length);
    if (error != std::errc() || colon == end || *colon != ':') return false;
    rest_.remove_prefix(static_cast<std::size_t>(colon - rest_.data()) + 1);
    if (length > rest_.size()) return false;
    *text = rest_.substr(0, length);
    rest_.remove_prefix(length);
    return true;
  }

  bool takeNumber(int* number) {
    std::string_view text;
    if (!takeText(&text)) return false;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *number);
    return error == std::errc() && end == text.data() + text.size();
  }

  [[nodiscard]] bool isAtEnd() const { return rest_.empty(); }

 private:
  std::string_view rest_;
};

bool takeWarnings(AnswerReader* reader, std::vector<zevo::ReadNote>* warnings) {
  std::string_view text;
  if (!reader->takeText(&text)) return false;
  const std::optional<Json::Value> array = parseJson(std::string(text));
  if (!array) return false;
  *warnings = zevo::readNotesFromJson(*array);
  return true;
}

bool takeCauses(AnswerReader* reader, std::vector<std::string>* causes) {
  int count = 0;
  if (!reader->takeNumber(&count)) return false;
  for (int i = 0; i < count; ++i) {
    std::string_view cause;
    if (!reader->takeText(&cause)) return false;
    causes->emplace_back(cause);
  }
  return true;
}

}  // namespace

std::string textOfAnswer(const Answer& answer) {
  std::string text;
  putText(std::to_string(static_cast<int>(answer.status)), &text);
  putText(std::to_string(answer.code), &text);
  putText(std::to_string(answer.causes.size()), &text);
  for (const std::string& cause : answer.causes) putText(cause, &text);
  putText(answer.data, &text);
  putText(compactJson(zevo::readNotesAsJson(answer.warnings)), &text);
  return text;
}

std::optional<Answer> answerFromText(const std::string& text) {
  AnswerReader reader(text);
  Answer answer;
  int status = 0;
  std::string_view data;
  if (!reader.takeNumber(&status) || !reader.takeNumber(&answer.code) ||
      !takeCauses(&reader, &answer.causes) || !reader.takeText(&data) ||
      !takeWarnings(&reader, &answer.warnings) || !reader.isAtEnd()) {
    return {};
  }
  if (status < 0 || status > static_cast<int>(Answer::Status::kFailed)) return {};
  answer.status = static_cast<Answer::Status>(status);
  answer.data = data;
  return answer;
}

}  // namespace cli
