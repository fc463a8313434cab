// Values out of a request's arrays. A client may send any JSON: what converts is converted, the
// rest counts as empty.
#pragma once

#include <string>

#include <json/value.h>

std::string textOf(const Json::Value& value);

// The member of `element`, or an empty text where it is no object or has no such member.
std::string textMember(const Json::Value& element, const char* name);

// The same as a number; 0 where it does not fit 32 bits unsigned.
unsigned numberMember(const Json::Value& element, const char* name);
