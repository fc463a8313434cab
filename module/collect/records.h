// From the platform's block of records to a session list; shared by both collectors.
#pragma once

#include <cstdlib>
#include <memory>

#include "session/session.h"

struct FreeBlock {
  void operator()(_tag_ZEVO_CURCONN_* block) const { std::free(block); }
};

// The block returned by a platform call, including the records' texts.
using RecordBlock = std::unique_ptr<_tag_ZEVO_CURCONN_, FreeBlock>;

// The records as sessions, from the last record to the first: that order decides which of two equal
// elements comes first after the stable sort.
SessionList sessionsOf(const _tag_ZEVO_CURCONN_* records, int count);

// Appends copies of all of `sessions` to `out`: all, or none if memory runs out.
void appendCopies(const SessionList& sessions, SessionList& out);
