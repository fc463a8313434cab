// What still lets disabled accounts in, and what they leave running, in words.
#pragma once

#include <string>
#include <vector>

#include "zevo/account_access.h"

namespace cli {

// Whether a line is about what will be or about what is.
enum class Tense { kFuture, kPresent };

// A line for each service that lets `user` in, or may do so, disabled or not: why, and the remedy.
std::vector<std::string> accessLines(const std::string& user,
                                     const std::vector<zevo::ServiceAccess>& services, Tense tense);

bool isLetIn(const std::vector<zevo::ServiceAccess>& services);

// Lines for what `user` has left running, with the commands that end it.
std::vector<std::string> leftRunningLines(const std::string& user, const zevo::LeftRunning& left,
                                          Tense tense);

}  // namespace cli
