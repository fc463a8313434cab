// Ordering and merging the records of one connection. Each collector sorts its list with its
// ordering (stable list sort) and then merges it; only adjacent records are merged.
#pragma once

#include "session/session.h"

// Whether `a` comes before `b` in a list of service connections. Not a strict weak ordering if NFS
// and other records share a pid: the list's own merge sort handles this, but another sort might
// give other rows or not terminate.
bool SDKSessionCmp(const Session& a, const Session& b);
// Merges each run of records of one service process into its first record: descriptions joined by
// ", " without immediate repeats, the greatest time of those that were joined.
void SDKSessionListMerge(SessionList& list);

// Whether `a` comes before `b` in a list of web logins.
bool HttpSessionCmp(const Session& a, const Session& b);
// Merges each run of logins of one user at one address into its first record: the last pid,
// descriptions joined by ", " where the pid changes. Times are ignored.
void HttpSessionListMerge(SessionList& list);
