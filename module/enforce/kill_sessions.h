// Ending service connections by signalling the processes that serve them.
#pragma once

#include "session/session.h"

// Sends `signal` to the process of each session, in list order, whose pid is not 0 and whose type
// is not "NFS". Only the first such session's process is checked by its name against /proc: the
// path of the status file grows with each session and is invalid from the second on, and a process
// whose status cannot be read is signalled unchecked. To have each process checked, a caller passes
// one session per call. The result of kill() is ignored.
void KillServiceSessions(SessionList& list, int signal);

// Ends the sessions' processes: SIGTERM, then up to five passes of a second's sleep and a probe of
// each, then SIGKILL for those that still run. Sets the pid of a session to 0 once its process has
// ended. Sleeps a second for an empty list too.
void EndServiceSessions(SessionList& list);
