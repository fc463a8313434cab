// What must be in place before the daemon serves.
#pragma once

#include <string>
#include <vector>

namespace currentconnd {

// Makes the session file where it is missing, and stores the key of its logins' password marks in
// *key. False with *error, naming where it is configured, where that cannot be or the file is
// another program's, which is left as it is.
bool prepareSessionFile(std::string* key, std::string* error);

// Whether the configured folder of PAM services has ours; true where none is configured. False with
// *error, naming where it is configured.
bool checkPamFolder(std::string* error);

// Whether one of the system's own folders of PAM services has ours.
bool hasPamService(const std::vector<std::string>& folders = {"/etc/pam.d", "/usr/lib/pam.d"});

}  // namespace currentconnd
