// What is connected, for programs that load the built module: what such a program defines itself
// takes the place of the platform's.
#pragma once

#include <string>
#include <vector>

namespace module_test {

struct Connected {
  std::string time;
  std::string from;
  std::string user;
  std::string descr;
  int type = 0;
};

// What the registry says from now on; nobody is logged in to the page, and every user exists.
void setConnected(std::vector<Connected> connections);

}  // namespace module_test
