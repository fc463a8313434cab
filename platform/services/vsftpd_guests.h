// Which account serves vsftpd's virtual users.
#pragma once

#include <string>
#include <string_view>

namespace zevo::connections {

// What vsftpd's configuration says about users who are no accounts of this server. The values that
// stand here are vsftpd's own defaults.
struct VsftpdGuests {
  bool areServed = false;         // guest_enable: whoever logs in is a virtual user
  std::string account = "ftp";    // guest_username: the account of their processes
  bool anonymousServed = true;    // anonymous_enable
  std::string anonymous = "ftp";  // ftp_username: the account of anonymous users' processes
  std::string helper = "nobody";  // nopriv_user: the account of processes that work for nobody yet
};

// Takes in the settings of a configuration file, or one option of the command line ("-oKEY=VALUE"
// without its "-o"); a later setting replaces an earlier one.
void takeSettings(std::string_view text, VsftpdGuests& guests);

// Takes in what `arguments`, those that vsftpd was started with and a blank between them, name:
// files, read in their order, and options; `standardFile` where they name no file. A file that
// cannot be read says nothing.
VsftpdGuests readGuests(std::string_view arguments, const std::string& standardFile);

// Whom a session of `account` serves, where it is not that account: "virtual user", "virtual or
// anonymous user" or nothing.
std::string_view guestOf(const VsftpdGuests& guests, std::string_view account);

}  // namespace zevo::connections
