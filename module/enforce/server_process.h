// The processes that serve each type of connection.
#pragma once

#include <cstdint>
#include <string>

// Whether `pid` can name a single process: not all processes (-1 as unsigned), a group or init.
bool isProcessId(std::uint32_t pid);

// Whether a process named `name` serves connections of type `type`. An SFTP session inside sshd is
// recognised by the title of the process.
bool servesType(std::uint32_t pid, const std::string& type, const char* name);
