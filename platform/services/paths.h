// The paths of the registry, in one value, so that recorded trees can be used as fixtures.
#pragma once

#include <string>
#include <vector>

#include "base/subordinate_ids.h"

namespace zevo::connections {

struct Paths {
  std::string proc = "/proc";
  std::string utmp = "/run/utmp";
  std::string logindSessions = "/run/systemd/sessions";
  std::string nfsd = "/proc/fs/nfsd";        // of the kernel's NFS server
  std::string rmtab = "/var/lib/nfs/rmtab";  // mount table of version 3 clients
  std::string smbstatus = "/usr/bin/smbstatus";
  // Where distributions install OpenSSH's SFTP server.
  std::vector<std::string> sftpServers = {
      "/usr/lib/openssh/sftp-server", "/usr/libexec/openssh/sftp-server",
      "/usr/libexec/sftp-server", "/usr/lib/ssh/sftp-server", "/usr/lib/misc/sftp-server"};
  std::string pureFtpwho = "/usr/sbin/pure-ftpwho";
  // The directory of the list that concurrent calls share; empty: each call reads separately.
  std::string sharedList = "/run/currentconn/list";
  std::string subuid = kSubordinateIds;
  std::string vsftpd = "/etc/vsftpd.conf";  // used if it was started without a file
};

}  // namespace zevo::connections
