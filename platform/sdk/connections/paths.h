// Where the registry reads: one value, so that recorded trees serve as fixtures.
#pragma once

#include <string>

namespace zevo::connections {

struct Paths {
  std::string proc = "/proc";
  std::string utmp = "/run/utmp";
  std::string logindSessions = "/run/systemd/sessions";
  std::string nfsd = "/proc/fs/nfsd";        // of the kernel's NFS server
  std::string rmtab = "/var/lib/nfs/rmtab";  // mount table of version 3 clients
  std::string smbstatus = "/usr/bin/smbstatus";
  std::string pureFtpwho = "/usr/sbin/pure-ftpwho";
};

}  // namespace zevo::connections
