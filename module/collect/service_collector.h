// The connections of the file services.
#pragma once

#include "session/session.h"

// Appends the current service connections, sorted and merged, to `out`. False, with a log line and
// `out` unchanged, if the registry could not be read.
bool SDKSessionListGet(SessionList& out);
