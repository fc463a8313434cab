// The report as an HTML page.
#pragma once

#include "session/session.h"

// Prints header lines and page of `rows` to standard output. Cells pass through the log info list,
// so a broken list shows in the page.
void printReport(const SessionList& rows);
