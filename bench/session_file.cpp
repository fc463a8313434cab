#include "bench/session_file.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "host/config.h"

namespace bench {

namespace {

std::string makeFolder() {
  const char* parent = std::getenv("TMPDIR");
  std::string folder = std::string(parent != nullptr ? parent : "/dev/shm") + "/sessions-XXXXXX";
  if (mkdtemp(folder.data()) == nullptr) std::abort();
  return folder;
}

std::string idOf(std::size_t number) {
  char id[64];
  std::snprintf(id, sizeof id, "k3JvYb-Q2mXw7TzLs_R0dEpAhN5uGcVi%011zu", number);
  return id;
}

std::string clientOf(std::size_t number) {
  return "10.1." + std::to_string(number / 256) + "." + std::to_string(number % 256);
}

std::string userOf(std::size_t number) {
  return "user" + std::to_string(number % 500);
}

std::string lineOf(std::size_t number) {
  const std::string digits = std::to_string(number + 1);
  return '"' + idOf(number) + R"(":{"1":")" + clientOf(number) + R"(","2":")" + userOf(number) +
         R"(","3":)" + digits + R"(,"4":1795000000,"5":"Firefox 133 on Linux","6":)" +
         std::to_string(1000 + number % 500) + "}\n";
}

// Number of the login that request `i` asks for.
std::size_t chosen(std::size_t i, std::size_t lines, std::size_t count) {
  return (2 * i + 1) * lines / (2 * count);
}

}  // namespace

SessionFile::SessionFile() : folder_(makeFolder()), path_(folder_ + "/sessions") {
  const std::string configuration = folder_ + "/configuration";
  std::ofstream(configuration) << "session_file = \"" << path_ << "\"\n";
  std::filesystem::create_directory(path_ + ".access.time");
  std::string error;
  if (zevo::loadConfig(configuration, true, &error)) return;
  std::fprintf(stderr, "%s\n", error.c_str());
  std::abort();
}

SessionFile::~SessionFile() {
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

std::string SessionFile::fill(std::size_t lines, std::size_t count) const {
  std::string text;
  for (std::size_t i = 0; i < lines; ++i) text += lineOf(i);
  std::ofstream(path_) << text;
  for (std::size_t i = 0; i < count; ++i)
    std::ofstream(path_ + ".access.time/" + idOf(chosen(i, lines, count)));
  return text;
}

std::size_t SessionFile::lines() const {
  std::ifstream file(path_);
  return static_cast<std::size_t>(
      std::count(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>(), '\n'));
}

std::list<HttpKickSession> SessionFile::requests(std::size_t lines, std::size_t count) {
  std::list<HttpKickSession> requests;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t number = chosen(i, lines, count);
    requests.push_back({false, userOf(number), clientOf(number), {}});
  }
  return requests;
}

}  // namespace bench
