// The report as an HTML page.
#pragma once

#include "session/session.h"

// Prints header lines and page of `rows` to standard output. Cells go through the log info list, so
// a list that is out of order shows in the page.
void printReport(const SessionList& rows);
