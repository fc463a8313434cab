#include "bench/peak_memory.h"

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr const char* kFlag = "--peak-work";

double before = 0;

// A value of /proc/self/status in KiB.
double statusKiB(const char* key) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind(key, 0) == 0) return std::stod(line.substr(std::strlen(key)));
  }
  return -1;
}

std::string readAll(int descriptor) {
  std::string text;
  char buffer[256];
  for (ssize_t length; (length = read(descriptor, buffer, sizeof buffer)) > 0;) {
    text.append(buffer, static_cast<std::size_t>(length));
  }
  return text;
}

bool spawnSelf(const std::vector<std::string>& work, int output, pid_t* child) {
  std::vector<std::string> words = {"/proc/self/exe", kFlag};
  words.insert(words.end(), work.begin(), work.end());
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  const int error = posix_spawn(child, arguments[0], &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  return error == 0;
}

}  // namespace

namespace bench {

double peakGrowthMiB(const std::vector<std::string>& work) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return -1;
  pid_t child = -1;
  const bool started = spawnSelf(work, ends[1], &child);
  close(ends[1]);
  const std::string text = started ? readAll(ends[0]) : "";
  close(ends[0]);
  if (started) waitpid(child, nullptr, 0);
  return text.empty() ? -1 : std::stod(text);
}

bool runPeakWork(int argc, char** argv,
                 const std::function<void(const std::vector<std::string>&)>& runNamed) {
  if (argc < 2 || std::strcmp(argv[1], kFlag) != 0) return false;
  runNamed({argv + 2, argv + argc});
  std::printf("%f\n", (statusKiB("VmHWM:") - before) / 1024);
  return true;
}

void resetPeak() {
  std::ofstream("/proc/self/clear_refs") << "5";
  before = statusKiB("VmRSS:");
}

}  // namespace bench
