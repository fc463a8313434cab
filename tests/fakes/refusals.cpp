#include "fakes/refusals.h"

namespace fakes {

void Refusals::refuse(const std::string& function, int nth, int error) {
  refused_[function][calls_[function] + nth] = error;
}

int Refusals::errorOfNextCall(const std::string& function) {
  const int call = ++calls_[function];
  const auto& refused = refused_[function];
  const auto found = refused.find(call);
  return found != refused.end() ? found->second : 0;
}

}  // namespace fakes
