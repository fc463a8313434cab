// The queue of cell texts between the sorted sessions and the printed report.
#pragma once

#include <cstdint>

struct LogInfoNode {
  char* text;  // a copy from malloc; never released
  LogInfoNode* next;
};

// Consistent while both are null or both are set.
struct LogInfoList {
  LogInfoNode* tail;
  LogInfoNode* head;
};

struct LogInfoTable {
  std::int32_t columns;
  LogInfoList* list;
};

// Number of columns, set by each report.
extern std::uint32_t gLogInfoColumns;
// The text last removed from a list, which a pop returns again if the list is empty. Null before
// the first.
extern char* gLogInfoLastText;

// An empty list. Its record is never released.
LogInfoList* newLogInfoList();

// Appends a copy of `text`. Returns `list`, or null with a log line if `list` is null or
// inconsistent.
LogInfoList* LogInfoListAppend(LogInfoList* list, const char* text);

// Removes the first text from `list`. Returns gLogInfoLastText if there is none, with a log line if
// the list is inconsistent.
const char* LogInfoListPop(LogInfoList* list);
// The same for the list of `table`; without a log line if it has none.
const char* LogInfoListPop(LogInfoTable* table);

// Removes all remaining texts. Does not return for a list with a head but no tail.
void LogInfoListDrain(LogInfoList* list);

// Ends a report: releases the memory of the nodes. No list with nodes may be used afterwards.
void LogInfoNodesClear();
