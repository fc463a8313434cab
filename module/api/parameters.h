// Reading a request's parameters: all are optional, none is validated, an invalid one counts as
// absent.
#pragma once

#include <string>

#include "zevo/api_request.h"

inline std::string readString(ZEVO::APIRequest& request, const char* name, const char* fallback) {
  return request.GetAndCheckString(name, ZEVO::PARAM_OPTIONAL, nullptr).Get(fallback);
}

inline int readInt(ZEVO::APIRequest& request, const char* name, int fallback) {
  return request.GetAndCheckInt(name, ZEVO::PARAM_OPTIONAL, nullptr).Get(fallback);
}

// An empty array where the parameter is absent.
inline Json::Value readArray(ZEVO::APIRequest& request, const char* name) {
  return request.GetAndCheckArray(name, ZEVO::PARAM_OPTIONAL, nullptr)
      .Get(Json::Value(Json::arrayValue));
}
