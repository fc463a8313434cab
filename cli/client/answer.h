// The outcome of one call of a method.
#pragma once

#include "calls/parsed_answer.h"

namespace cli {

using Answer = calls::MethodAnswer;
using calls::answerFromScgi;
using calls::failedAnswer;
using calls::kCodeFailed;
using calls::kCodeNotAdministrator;
using calls::kCodeTooFewAdministrators;

}  // namespace cli
