// Describes what still lets disabled accounts in, and what they leave running.
#pragma once

#include <string>
#include <vector>

#include <json/value.h>

namespace cli {

// Whether a line is about the future or the present.
enum class Tense { kFuture, kPresent };

// For an account in the answer of /api/plan or /api/perform: a line for each service that lets it
// in or may do so, with the reason and the remedy, then lines for what it leaves running, with the
// commands that end it.
std::vector<std::string> accessLines(const Json::Value& account, Tense tense);

// Whether a service certainly lets the account in.
bool isLetIn(const Json::Value& account);

}  // namespace cli
