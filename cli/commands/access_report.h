// What still lets disabled accounts in, and what they leave running, in words.
#pragma once

#include <string>
#include <vector>

#include <json/value.h>

namespace cli {

// Whether a line is about what will be or about what is.
enum class Tense { kFuture, kPresent };

// Of an account in the answer of /api/plan or /api/perform: a line for each service that lets it
// in, or may do so: why, and the remedy. Then lines for what it leaves running, with the commands
// that end it.
std::vector<std::string> accessLines(const Json::Value& account, Tense tense);

// Whether a service certainly lets the account in.
bool isLetIn(const Json::Value& account);

}  // namespace cli
