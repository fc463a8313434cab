#include "services/iso_time.h"

#include <algorithm>

#include "base/numbers.h"

namespace zevo::connections {
namespace {

// Parses a number of exactly `digits` digits from `lowest` to `highest`.
bool takeDigits(std::string_view& rest, std::size_t digits, int lowest, int highest, int* number) {
  if (rest.size() < digits || !parseNumber(rest.substr(0, digits), number)) return false;
  rest.remove_prefix(digits);
  return *number >= lowest && *number <= highest;
}

bool takeCharacter(std::string_view& rest, char character) {
  if (!rest.starts_with(character)) return false;
  rest.remove_prefix(1);
  return true;
}

bool takeDate(std::string_view& rest, std::tm* time) {
  int year = 0;
  int month = 0;
  if (!takeDigits(rest, 4, 1970, 9999, &year) || !takeCharacter(rest, '-') ||
      !takeDigits(rest, 2, 1, 12, &month) || !takeCharacter(rest, '-') ||
      !takeDigits(rest, 2, 1, 31, &time->tm_mday)) {
    return false;
  }
  time->tm_year = year - 1900;
  time->tm_mon = month - 1;
  return true;
}

bool takeTime(std::string_view& rest, std::tm* time) {
  if (!takeDigits(rest, 2, 0, 23, &time->tm_hour) || !takeCharacter(rest, ':') ||
      !takeDigits(rest, 2, 0, 59, &time->tm_min) || !takeCharacter(rest, ':') ||
      !takeDigits(rest, 2, 0, 60, &time->tm_sec)) {
    return false;
  }
  if (!takeCharacter(rest, '.')) return true;
  const std::size_t digits = std::min(rest.find_first_not_of("0123456789"), rest.size());
  rest.remove_prefix(digits);
  return digits > 0;
}

// Seconds east of UTC.
std::optional<int> parseOffset(std::string_view rest) {
  if (rest == "Z") return 0;
  const bool isWest = rest.starts_with('-');
  if (!takeCharacter(rest, isWest ? '-' : '+')) return std::nullopt;
  int hours = 0;
  int minutes = 0;
  if (!takeDigits(rest, 2, 0, 23, &hours)) return std::nullopt;
  takeCharacter(rest, ':');
  if (!takeDigits(rest, 2, 0, 59, &minutes) || !rest.empty()) return std::nullopt;
  const int seconds = (hours * 60 + minutes) * 60;
  return isWest ? -seconds : seconds;
}

}  // namespace

std::optional<std::time_t> parseIsoTime(std::string_view text) {
  std::tm time{};
  if (!takeDate(text, &time) || !takeCharacter(text, 'T') || !takeTime(text, &time)) {
    return std::nullopt;
  }
  const auto offset = parseOffset(text);
  if (!offset) return std::nullopt;
  return ::timegm(&time) - *offset;
}

}  // namespace zevo::connections
