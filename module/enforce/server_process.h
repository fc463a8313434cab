// Which processes serve which type of connection.
#pragma once

#include <cstdint>
#include <string>

// Whether `pid` can name one process: neither everybody (-1 as unsigned), nor a group, nor init.
bool isProcessId(std::uint32_t pid);

// Whether a process named `name` serves connections of type `type`. An SFTP session inside sshd is
// told by the title of the process.
bool servesType(std::uint32_t pid, const std::string& type, const char* name);
