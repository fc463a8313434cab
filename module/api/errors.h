// The error codes that handlers answer with, always with a null payload.
#pragma once

inline constexpr int kErrorNotAdministrator = 105;
inline constexpr int kErrorWorkFailed = 117;
inline constexpr int kErrorTooFewAdministrators = 7100;
