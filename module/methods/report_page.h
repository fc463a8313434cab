// The report as an HTML page.
#pragma once

#include <json/value.h>

// Prints header lines and page of `rows`, an array of session objects, to standard output. Cells go
// through the log info list, so a list that is out of order shows in the page.
void printReport(const Json::Value& rows);
