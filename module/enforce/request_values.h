// Values from a request's arrays. A client may send any JSON: values are converted where possible,
// the rest counts as empty.
#pragma once

#include <string>

#include <json/value.h>

std::string textOf(const Json::Value& value);

// The member of `element`, or an empty string if it is not an object or lacks the member.
std::string textMember(const Json::Value& element, const char* name);

// The same as a number; 0 if it does not fit 32 bits unsigned.
unsigned numberMember(const Json::Value& element, const char* name);
