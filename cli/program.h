// currentconn: who is connected, on the command line.
#pragma once

namespace cli {

// Does what the command line says; returns the process's exit status.
int runProgram(int argc, const char* const* argv);

}  // namespace cli
