// Checks before the daemon starts.
#pragma once

#include <string>
#include <vector>

namespace currentconnd {

// Creates the session file if it does not exist, and stores the key of its logins' password marks
// in *key. False with *error, naming the configuration line, if that fails or if the file belongs
// to another program, which is then left unchanged.
bool prepareSessionFile(std::string* key, std::string* error);

// Whether the configured directory of PAM services contains ours; true if none is configured. False
// with *error, naming the configuration line.
bool checkPamFolder(std::string* error);

// Whether one of the system's directories of PAM services contains ours.
bool hasPamService(const std::vector<std::string>& folders = {"/etc/pam.d", "/usr/lib/pam.d"});

}  // namespace currentconnd
