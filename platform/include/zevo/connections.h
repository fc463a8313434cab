// The registry of the current connections to the services of this server.
#pragma once

#include <cstddef>

#include "zevo/export.h"

// Type ids of connections. 6 is not a connection type.
enum ZEVO_CURCONN_TYPE {
  ZEVO_CURCONN_CIFS = 4,
  ZEVO_CURCONN_AFP = 5,
  ZEVO_CURCONN_FTP = 7,
  ZEVO_CURCONN_TELNET = 8,
  ZEVO_CURCONN_HTTP = 9,
  ZEVO_CURCONN_SSH = 10,
  ZEVO_CURCONN_LOGIN = 11,
  ZEVO_CURCONN_NFS = 12,
  ZEVO_CURCONN_SFTP = 13,
};

// One connection to one resource. The texts are never null and NUL-terminated; in records of this
// platform they are valid UTF-8 without control characters. They live in the same block as the
// array that holds the record.
struct _tag_ZEVO_CURCONN_ {
  int pid;            // process whose SIGTERM ends the connection; 0 if none serves only it (NFS)
  const char* time;   // start in local time as "2026-11-20 21:26:24"; empty if unknown
  const char* from;   // numeric client address without port; empty for a local login
  const char* user;   // account name according to the service; empty if it has none (NFS)
  const char* descr;  // what is in use: share, terminal, directory, protocol version
  int type;           // ZEVO_CURCONN_TYPE
};

static_assert(sizeof(_tag_ZEVO_CURCONN_) == 48);
static_assert(offsetof(_tag_ZEVO_CURCONN_, pid) == 0);
static_assert(offsetof(_tag_ZEVO_CURCONN_, time) == 8);
static_assert(offsetof(_tag_ZEVO_CURCONN_, from) == 16);
static_assert(offsetof(_tag_ZEVO_CURCONN_, user) == 24);
static_assert(offsetof(_tag_ZEVO_CURCONN_, descr) == 32);
static_assert(offsetof(_tag_ZEVO_CURCONN_, type) == 40);

extern "C" {

// Reads the current connections of all file services and console logins, one record per resource in
// use. Stores the address of a newly allocated array in *records, or null, and returns the number
// of records; a service that is not installed or not running has none. What could not be read of a
// service is left out and noted (zevo/read_notes.h). Returns a negative number and sets the last
// error if processes or sockets cannot be read, or if the pids in /proc are not those of kill(2).
// The caller releases *records with one free() in any case. Needs effective uid 0 to see other
// users' processes; starts child processes and waits for them (10 s each at most, see the
// configuration).
ZEVO_EXPORT int ZEVOCurConnGet(_tag_ZEVO_CURCONN_** records);

}  // extern "C"
