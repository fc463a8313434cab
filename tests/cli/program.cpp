#include "cli/program.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <poll.h>
#include <sstream>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

#include <json/reader.h>
#include <json/writer.h>

#include "base/file_descriptor.h"

namespace cli {
namespace {

namespace fs = std::filesystem;

// Longer than any test waits; then the program hangs and is ended.
constexpr int kLongestRunMs = 60000;

Json::Value parse(const std::string& text) {
  Json::Value value;
  std::istringstream(text) >> value;
  return value;
}

std::array<zevo::FileDescriptor, 2> makePipe() {
  std::array<int, 2> ends = {};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  return {zevo::FileDescriptor(ends[0]), zevo::FileDescriptor(ends[1])};
}

// Takes one piece; closes at the end.
void take(zevo::FileDescriptor* from, std::string* to) {
  std::array<char, 4096> bytes;
  const ssize_t count = read(from->get(), bytes.data(), bytes.size());
  if (count > 0) {
    to->append(bytes.data(), static_cast<std::size_t>(count));
  } else {
    from->reset();
  }
}

void takeAll(zevo::FileDescriptor out, zevo::FileDescriptor err, pid_t child, Outcome* run) {
  while (out || err) {
    std::array<pollfd, 2> waiting = {{{out.get(), POLLIN, 0}, {err.get(), POLLIN, 0}}};
    if (poll(waiting.data(), waiting.size(), kLongestRunMs) == 0) {
      kill(child, SIGKILL);
      return;
    }
    if (waiting[0].revents != 0) take(&out, &run->out);
    if (waiting[1].revents != 0) take(&err, &run->err);
  }
}

std::vector<char*> pointersTo(const std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (const std::string& text : texts) pointers.push_back(const_cast<char*>(text.c_str()));
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace

void execute(const std::vector<std::string>& words, const std::vector<std::string>& environment) {
  execve(words[0].c_str(), pointersTo(words).data(), pointersTo(environment).data());
  _exit(127);
}

Program::Program() : answers_(Json::objectValue) {
  std::string pattern = (fs::temp_directory_path() / "currentconn-XXXXXX").string();
  if (!mkdtemp(pattern.data())) throw std::runtime_error("no temporary folder");
  folder_ = pattern;
  fs::permissions(folder_, fs::perms(0755));
  for (const char* name : {"bin", "modules", "lib"}) fs::create_directory(folder_ / name);
  // Copies: the program looks beside its own file, and a caller without rights may not reach the
  // directory of the build.
  fs::copy(CURRENTCONN_PROGRAM, folder_ / "bin");
  fs::copy(CURRENTCONN_FAKE_MODULE, modulePath());
  for (const fs::directory_entry& library : fs::directory_iterator(CURRENTCONN_LIBRARIES)) {
    if (library.path().filename().string().starts_with("libzevo")) {
      fs::copy(library.path(), folder_ / "lib");
    }
  }
  std::ofstream(folder_ / "config.toml")
      << "session_file = \"" << (folder_ / "run" / "sessions").string() << "\"\n"
      << "list_folder = \"" << (folder_ / "list").string() << "\"\n"
      << "state_folder = \"" << (folder_ / "state").string() << "\"\n";
  environment = {"LC_ALL=C.UTF-8", "PATH=/usr/bin:/bin", "CURRENTCONN_FAKE=" + folder_.string()};
  // The settings of the sanitizers apply to the program too.
  for (const char* name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS"}) {
    if (const char* value = std::getenv(name))
      environment.push_back(std::string(name) + "=" + value);
  }
}

Program::~Program() {
  std::error_code ignored;
  fs::remove_all(folder_, ignored);
}

fs::path Program::modulePath() const {
  return folder_ / "modules" / "ZEVO.Core.CurrentConnection.so";
}

void Program::answer(const std::string& method, const std::vector<std::string>& answers) {
  answers_[method] = Json::Value(Json::arrayValue);
  for (const std::string& text : answers) answers_[method].append(parse(text));
  std::ofstream(folder_ / "answers.json") << answers_;
}

std::vector<Json::Value> Program::calls() const {
  std::ifstream file(folder_ / "calls");
  std::vector<Json::Value> calls;
  for (std::string line; std::getline(file, line);) calls.push_back(parse(line));
  return calls;
}

std::vector<std::string> Program::commandLine(std::vector<std::string> arguments) const {
  arguments.insert(arguments.begin(), (folder_ / "bin" / "currentconn").string());
  arguments.insert(arguments.end(), {"--config", (folder_ / "config.toml").string()});
  return arguments;
}

Outcome Program::run(const std::vector<std::string>& arguments,
                     const std::function<void()>& prepare) const {
  auto [outRead, outWrite] = makePipe();
  auto [errRead, errWrite] = makePipe();
  const std::vector<std::string> words = commandLine(arguments);
  const pid_t child = fork();
  if (child < 0) throw std::runtime_error("no process");
  if (child == 0) {
    dup2(outWrite.get(), STDOUT_FILENO);
    dup2(errWrite.get(), STDERR_FILENO);
    if (prepare) prepare();
    execute(words, environment);
  }
  outWrite.reset();
  errWrite.reset();
  Outcome run;
  takeAll(std::move(outRead), std::move(errRead), child, &run);
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFEXITED(status)) run.exitCode = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) run.signal = WTERMSIG(status);
  return run;
}

std::string incomplete(const std::string& answer, const std::string& service,
                       const std::string& code) {
  return answer.substr(0, answer.rfind('}')) + R"(,"warnings":[{"code":")" + code +
         R"(","detail":"no reason","service":")" + service + R"("}]})";
}

std::string row(int pid, const std::string& who, const std::string& type, const std::string& from,
                const std::string& descr, const std::string& time) {
  Json::Value value(Json::objectValue);
  value["time"] = time;
  value["who"] = who;
  value["from"] = from;
  value["type"] = type;
  value["descr"] = descr;
  value["pid"] = pid;
  value["user_can_be_disabled"] = type != "NFS";
  value["can_be_kicked"] = type != "NFS";
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  return Json::writeString(builder, value);
}

std::string listAnswer(const std::vector<std::string>& rows, int total) {
  std::string items;
  for (const std::string& item : rows) items += (items.empty() ? "" : ",") + item;
  const std::string count = std::to_string(total < 0 ? static_cast<int>(rows.size()) : total);
  return R"({"data":{"total":)" + count + R"(,"items":[)" + items +
         R"(],"systime":"Fri Nov 20 21:30:00 2026\n"}})";
}

IdleProcess::IdleProcess() : pid_(::fork()) {
  if (pid_ != 0) return;
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  while (true) ::pause();
}

IdleProcess::~IdleProcess() {
  if (pid_ < 0) return;
  ::kill(pid_, SIGKILL);
  ::waitpid(pid_, nullptr, 0);
}

}  // namespace cli
