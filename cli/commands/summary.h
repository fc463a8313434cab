// The line below the table, or instead of it.
#pragma once

#include <string>

#include "cli/client/connection.h"
#include "cli/commands/listing.h"
#include "cli/terminal/text.h"

namespace cli {

// "nobody is connected", "5 connections", "connections 2 to 3 of 5 matching "cifs"", …: the number
// of connections that match `listing`, and which of them the page shows.
std::string summaryOf(const Page& page, const Listing& listing, Charset charset);

}  // namespace cli
