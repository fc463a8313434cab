#include "methods/report_page.h"

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "zevo/web_utils.h"

#include "api/globals.h"
#include "methods/log_info_list.h"

namespace {

struct FreeRecord {
  void operator()(void* record) const { std::free(record); }
};
using TablePointer = std::unique_ptr<LogInfoTable, FreeRecord>;

// Releases the nodes on every path out of a report.
struct NodesOfReport {
  ~NodesOfReport() { LogInfoNodesClear(); }
};

TablePointer newTable() {
  TablePointer table(static_cast<LogInfoTable*>(std::malloc(sizeof(LogInfoTable))));
  if (!table) throw std::bad_alloc();
  *table = {static_cast<std::int32_t>(kLogColumns), newLogInfoList()};
  return table;
}

void queueTitles(LogInfoList* list) {
  gLogInfoColumns = kLogColumns;
  for (std::uint32_t i = 0; i < gLogInfoColumns; ++i) LogInfoListAppend(list, gLogColumnTitles[i]);
}

void queueCells(LogInfoList* list, const SessionList& rows) {
  for (const Session& row : rows) {
    for (const std::string* cell : {&row.time, &row.who, &row.from, &row.type, &row.descr})
      LogInfoListAppend(list, cell->c_str());
  }
}

const char* orEmpty(const char* text) {
  return text != nullptr ? text : "";
}

void printHead(const char* title) {
  std::puts("Content-Type:application/xxx\r");
  std::printf("Content-Disposition:attachment; filename=\"%s\"\r\n\r\n", "currentlog.html");
  std::puts("<html><head>");
  std::puts("<meta http-equiv=\"Content-Type\" content=\"text/html; charset=utf-8;\">");
  std::printf("<title>%s</title>\n", title);
  std::puts("</head>");
  std::puts("<body>");
  std::printf("<center><h2> %s </h2></center>\n", title);
  std::printf("<table border=1 width=95%%>\n");
}

void printTitles(LogInfoList* list) {
  std::printf("<tr>");
  for (std::size_t i = 0; i < kLogColumns; ++i)
    std::printf("<th>%s</th>", orEmpty(LogInfoListPop(list)));
  std::puts("</tr>");
}

void printRow(LogInfoTable* table) {
  std::printf("<tr>");
  for (std::int32_t i = 0; i < table->columns; ++i) {
    std::printf("<td align=\"%s\" >", gLogColumnAligns[i]);
    std::printf("%s</td>", WebUtils::EncodeHtml(orEmpty(LogInfoListPop(table)), false).c_str());
  }
  std::printf("</tr>");
}

}  // namespace

void printReport(const SessionList& rows) {
  const NodesOfReport nodes;
  const TablePointer table = newTable();
  queueTitles(table->list);
  queueCells(table->list, rows);
  const StringBundle bundle("common", "log", "pppoe", nullptr, nullptr, nullptr);
  printHead(bundle.Text("log_link_current_conn", ""));
  printTitles(table->list);
  for (std::size_t i = 0; i < rows.size(); ++i) printRow(table.get());
  std::printf("</table></body></html>");
  LogInfoListDrain(table->list);
}
