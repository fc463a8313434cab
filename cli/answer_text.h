// An answer on its way between two processes.
#pragma once

#include <optional>
#include <string>

#include "answer.h"

namespace cli {

std::string textOfAnswer(const Answer& answer);

// Nothing where `text` is not the whole of what textOfAnswer gave.
std::optional<Answer> answerFromText(const std::string& text);

}  // namespace cli
