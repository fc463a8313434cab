// Ordering and folding of the records that make up one connection. Each collector sorts its own
// list with its ordering (stable list sort) and folds it afterwards; folding looks at neighbours
// only.
#pragma once

#include "session/session.h"

// Whether `a` stands before `b` in a list of service connections. No strict weak ordering where NFS
// and other records share a pid: the list's own merge sort copes, another sort gives other rows or
// may not end.
bool SDKSessionCmp(const Session& a, const Session& b);
// Folds each run of records of one service process into its first record: descriptions joined by ",
// " without immediate repeats, the greatest time of those that were joined.
void SDKSessionListMerge(SessionList& list);

// Whether `a` stands before `b` in a list of web logins.
bool HttpSessionCmp(const Session& a, const Session& b);
// Folds each run of logins of one user at one address into its first record: the last pid,
// descriptions joined by ", " where the pid changes. Times are not looked at.
void HttpSessionListMerge(SessionList& list);
