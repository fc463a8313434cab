#include "fakes/texts.h"

#include <deque>

#include "zevo/string_bundle.h"

#include "fakes/allocation.h"
#include "fakes/platform.h"

namespace fakes {

namespace {

std::vector<std::string>& loadingCalls() {
  static std::vector<std::string> calls;
  return calls;
}

void recordCall(const std::string& call) {
  if (Platform* platform = Platform::find(); platform != nullptr) {
    platform->calls.record(call);
  } else {
    loadingCalls().push_back(call);
  }
}

std::string nameOf(const char* section) {
  return section != nullptr ? section : "null";
}

}  // namespace

const std::vector<std::string>& callsWhileLoading() {
  return loadingCalls();
}

std::string textOf(const std::string& key) {
  return "<" + key + "> & text";
}

}  // namespace fakes

struct StringBundle::Texts {
  std::deque<std::string> given;
};

StringBundle::StringBundle(const char* section1, const char* section2, const char* section3,
                           const char* section4, const char* section5, const char* section6)
    : texts_(nullptr) {
  const fakes::AllocationPause pause;
  texts_ = std::make_unique<Texts>();
  std::string call = "StringBundle(" + fakes::nameOf(section1);
  for (const char* section : {section2, section3, section4, section5, section6}) {
    call += ", " + fakes::nameOf(section);
  }
  fakes::recordCall(call + ")");
}

StringBundle::~StringBundle() {
  // Bundles of the program itself end after main(), where nobody looks.
  const fakes::AllocationPause pause;
  if (fakes::Platform::find() != nullptr) fakes::recordCall("~StringBundle()");
}

const char* StringBundle::Text(const char* key, const char* fallback) const {
  const fakes::AllocationPause pause;
  fakes::recordCall(std::string("Text(") + key + ", " + fallback + ")");
  return texts_->given.emplace_back(fakes::textOf(key)).c_str();
}
