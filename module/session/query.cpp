#include "session/query.h"

#include <cstring>
#include <strings.h>

#include "zevo/unicode.h"

#include "api/log.h"

namespace {

// The lines in the log messages, one for each upper-cased text.
enum UpperCaseLine : int {
  kWhoLine = 301,
  kFromLine,
  kTypeLine,
  kDescrLine,
  kTimeLine,
  kUserLine = 320,
  kFilterLine = 340
};

bool upperCase(const std::string& text, char (&buffer)[kUpperCaseBufferSize], int line) {
  if (VLIBCUnicodeUTF8StrUpper(text.c_str(), buffer, kUpperCaseBufferSize) != -1) return true;
  syslog(kLogError, "%s:%d VLIBCUnicodeUTF8StrUpper failed, str=%s.", kLogSource, line,
         text.c_str());
  return false;
}

const std::string& fieldOf(const Session& session, SessionSortField field) {
  switch (field) {
    case SessionSortField::who:
      return session.who;
    case SessionSortField::from:
      return session.from;
    case SessionSortField::descr:
      return session.descr;
    case SessionSortField::type:
      return session.type;
    case SessionSortField::time:
      break;
  }
  return session.time;
}

}  // namespace

bool Session::withQuery(const char* upperNeedle) const {
  char buffer[kUpperCaseBufferSize] = {};
  const auto contains = [&](const std::string& text, int line) {
    return upperCase(text, buffer, line) && std::strstr(buffer, upperNeedle) != nullptr;
  };
  return contains(who, kWhoLine) || contains(from, kFromLine) || contains(type, kTypeLine) ||
         contains(descr, kDescrLine) || contains(time, kTimeLine);
}

bool Session::withUserQuery(const char* upperName) const {
  char buffer[kUpperCaseBufferSize] = {};
  return upperCase(who, buffer, kUserLine) && std::strcmp(buffer, upperName) == 0;
}

bool FilterSessionList(const std::string& filter, SessionList& list) {
  char needle[kUpperCaseBufferSize] = {};
  if (!upperCase(filter, needle, kFilterLine)) return false;
  list.remove_if([&](const Session& session) { return !session.withQuery(needle); });
  return true;
}

bool Session::Compare::operator()(const Session& a, const Session& b) const {
  const int order = fieldOf(a, field_).compare(fieldOf(b, field_));
  return ascending_ ? order < 0 : order > 0;
}

SessionSortField sortFieldOf(const std::string& sortBy) {
  if (sortBy == "time") return SessionSortField::time;
  if (sortBy == "who") return SessionSortField::who;
  if (sortBy == "from") return SessionSortField::from;
  if (sortBy == "descr") return SessionSortField::descr;
  if (sortBy == "type") return SessionSortField::type;
  return SessionSortField::time;
}

bool isAscending(const std::string& sortDirection) {
  // Compare the length first: a text with a NUL in it is a different text.
  return sortDirection.size() == 3 && strcasecmp(sortDirection.c_str(), "ASC") == 0;
}
