// The account that serves vsftpd's virtual users.
#pragma once

#include <string>
#include <string_view>

namespace zevo::connections {

// vsftpd's configuration of users who are not accounts of this server. The values here are vsftpd's
// defaults.
struct VsftpdGuests {
  bool areServed = false;         // guest_enable: all logins are virtual users
  std::string account = "ftp";    // guest_username: the account of their processes
  bool anonymousServed = true;    // anonymous_enable
  std::string anonymous = "ftp";  // ftp_username: the account of anonymous users' processes
  std::string helper = "nobody";  // nopriv_user: the account of processes that serve nobody yet
};

// Applies the settings of a configuration file, or one option of the command line ("-oKEY=VALUE"
// without its "-o"); a later setting replaces an earlier one.
void takeSettings(std::string_view text, VsftpdGuests& guests);

// Applies vsftpd's `arguments`, separated by spaces: files, read in their order, and options;
// `standardFile` if they name no file. A file that cannot be read is ignored.
VsftpdGuests readGuests(std::string_view arguments, const std::string& standardFile);

// Whom a session of `account` serves if it is not that account: "virtual user", "virtual or
// anonymous user" or nothing.
std::string_view guestOf(const VsftpdGuests& guests, std::string_view account);

}  // namespace zevo::connections
