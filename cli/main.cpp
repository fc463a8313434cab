#include "cli/program.h"

int main(int argc, char** argv) {
  return cli::runProgram(argc, argv);
}
