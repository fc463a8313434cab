// Ending service connections by signalling the processes that serve them.
#pragma once

#include "session/session.h"

// Sends `signal` to the process of each session, in list order, whose pid is not 0 and whose type
// is not "NFS". Only the first such session's process is checked by its name against /proc: the
// path of the status file grows with each session and names no file from the second on, and a
// process whose status cannot be read is signalled unchecked. A caller that must have each process
// checked passes one session a call. What kill() answers is not looked at.
void KillServiceSessions(SessionList& list, int signal);

// Ends the sessions' processes: SIGTERM, then up to five passes of a second's sleep and a probe of
// each, then SIGKILL for what still runs. Sets the pid of a session to 0 once its process is gone.
// Sleeps a second for an empty list too.
void EndServiceSessions(SessionList& list);
