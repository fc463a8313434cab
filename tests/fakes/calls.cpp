#include "fakes/calls.h"

#include <algorithm>
#include <new>

#include <gtest/gtest.h>

namespace fakes {

namespace {

std::string_view functionOf(std::string_view call) {
  return call.substr(0, call.find('('));
}

}  // namespace

void Calls::record(std::string call) {
  calls_.push_back(std::move(call));
  if (functionOf(calls_.back()) == throwing_) throw std::bad_alloc();
}

void Calls::unscripted(const std::string& call) {
  record(call);
  ADD_FAILURE() << "unscripted call: " << call;
}

std::vector<std::string> Calls::steps() const {
  std::vector<std::string> steps;
  std::copy_if(calls_.begin(), calls_.end(), std::back_inserter(steps),
               [](const std::string& call) { return call != "geteuid()" && call != "getegid()"; });
  return steps;
}

std::vector<std::string> Calls::of(std::initializer_list<std::string_view> functions) const {
  std::vector<std::string> found;
  std::copy_if(
      calls_.begin(), calls_.end(), std::back_inserter(found), [&](const std::string& call) {
        return std::find(functions.begin(), functions.end(), functionOf(call)) != functions.end();
      });
  return found;
}

}  // namespace fakes
