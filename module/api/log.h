// The system log. Every message begins with the source name and the line of its call site, as
// "%s:%d ".
#pragma once

#include <syslog.h>

inline constexpr const char* kLogSource = "main";

// Priorities: ordinary failures, and the privileged section's failures and notices in the
// authorisation facility.
inline constexpr int kLogError = LOG_ERR;
inline constexpr int kLogAuthError = LOG_AUTH | LOG_ERR;
inline constexpr int kLogAuthInfo = LOG_AUTH | LOG_INFO;

static_assert(kLogError == 3 && kLogAuthError == 35 && kLogAuthInfo == 38);
