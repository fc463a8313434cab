#include "answer.h"

#include <utility>

namespace cli {

Answer failedAnswer(std::string cause) {
  Answer answer;
  answer.causes.push_back(std::move(cause));
  return answer;
}

}  // namespace cli
