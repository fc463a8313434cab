// Shared by the listing methods: collecting, paging and the result object.
#pragma once

#include "zevo/api_request.h"

#include "session/query.h"

// Appends the service connections and then the web logins to `list`. Both sources are always read;
// false if either could not be.
bool collectSessions(ZEVO::APIRequest* request, SessionList& list);

// The sessions of `page` as an array of objects.
Json::Value jsonOf(const SessionList& list, const Page& page);

// The result of a listing method: "total", "items" of the page, and "systime" as ctime writes it,
// including the line break.
Json::Value listingResult(const SessionList& list, const Page& page);
