// A module that gives scripted answers, and records how it was called.
//
// The directory named by CURRENTCONN_FAKE holds "answers.json", an object that gives for each
// method an array of answers, one for each call and the last for all further ones; calls append a
// line each to "calls". An answer is an object with one of
//   "data":   the result of a success (any value)
//   "error":  a code; "causes", an array of texts, goes to the error trail
//   "print":  a text for standard output, with the host's own output off
//   "signal": the number of a signal that ends the process
//   "throw":  true: an exception that escapes
//   "silent": true: no outcome at all
// and perhaps "warnings", an array of notes of the registry's, "wait_ms", the time before it, or
// "wait_for", the name of a file of the directory that must be there first.
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <sys/file.h>
#include <thread>
#include <unistd.h>

#include <json/reader.h>
#include <json/writer.h>

#include "zevo/api_request.h"
#include "zevo/api_response.h"
#include "zevo/api_table.h"
#include "zevo/error.h"
#include "zevo/error_trail.h"
#include "zevo/export.h"
#include "zevo/read_notes.h"

namespace {

constexpr const char* kApi = "ZEVO.Core.CurrentConnection";

std::string folder() {
  const char* name = std::getenv("CURRENTCONN_FAKE");
  if (!name) throw std::runtime_error("CURRENTCONN_FAKE is not set");
  return name;
}

std::string compact(const Json::Value& value) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  return Json::writeString(builder, value);
}

Json::Value readAnswers() {
  std::ifstream file(folder() + "/answers.json");
  Json::Value answers;
  file >> answers;
  return answers;
}

// How often the method was called before.
Json::ArrayIndex callsSoFar(const std::string& method) {
  std::ifstream file(folder() + "/calls");
  Json::ArrayIndex count = 0;
  for (std::string line; std::getline(file, line);) {
    if (line.find("\"method\":\"" + method + "\"") != std::string::npos) ++count;
  }
  return count;
}

Json::Value readRequest(const std::string& method, ZEVO::APIRequest* request) {
  Json::Value call(Json::objectValue);
  call["method"] = method;
  call["user"] = request->GetLoginUserName();
  call["admin"] = request->IsAdmin();
  call["session_file"] = access(request->GetSessionFilePath().c_str(), F_OK) == 0;
  call["pid"] = static_cast<int>(getpid());
  Json::Value parameters(Json::objectValue);
  for (const char* name : {"filter", "sort_by", "sort_direction"}) {
    if (!request->HasParam(name)) continue;
    parameters[name] = request->GetAndCheckString(name, ZEVO::PARAM_OPTIONAL, nullptr).Get("?");
  }
  for (const char* name : {"start", "limit"}) {
    if (!request->HasParam(name)) continue;
    parameters[name] = request->GetAndCheckInt(name, ZEVO::PARAM_OPTIONAL, nullptr).Get(-77);
  }
  for (const char* name : {"service_conn", "http_conn", "users"}) {
    if (!request->HasParam(name)) continue;
    parameters[name] = request->GetAndCheckArray(name, ZEVO::PARAM_OPTIONAL, nullptr).Get("?");
  }
  call["parameters"] = parameters;
  return call;
}

// One write with O_APPEND: lines of processes side by side stay whole.
void record(const Json::Value& call) {
  const std::string line = compact(call) + "\n";
  const int file =
      open((folder() + "/calls").c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
  if (write(file, line.data(), line.size()) < 0) throw std::runtime_error("cannot record the call");
  close(file);
}

void give(const Json::Value& answer, ZEVO::APIResponse* response) {
  std::this_thread::sleep_for(std::chrono::milliseconds(answer.get("wait_ms", 0).asInt()));
  const std::string awaited = folder() + "/" + answer.get("wait_for", "").asString();
  while (access(awaited.c_str(), F_OK) != 0) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  if (answer.isMember("signal")) std::raise(answer["signal"].asInt());
  if (answer.isMember("throw")) throw std::runtime_error("an exception that escaped");
  if (answer.isMember("print")) {
    response->SetEnableOutput(false);
    std::printf("%s", answer["print"].asCString());
  }
  if (answer.isMember("warnings")) {
    zevo::setReadNotes(zevo::readNotesFromJson(answer["warnings"]));
  }
  if (answer.isMember("data")) response->SetSuccess(answer["data"]);
  if (answer.isMember("error")) {
    for (const Json::Value& cause : answer["causes"])
      ZEVO_NOTE_ERROR(ZEVO_ERR_SYSTEM, cause.asString());
    response->SetError(answer["error"].asInt(), Json::Value());
  }
}

// Records the call, and returns how often the method was called before. One call at a time: those
// side by side would have the same number.
Json::ArrayIndex recordCall(const std::string& method, ZEVO::APIRequest* request) {
  const int lock = open((folder() + "/lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
  if (flock(lock, LOCK_EX) != 0) throw std::runtime_error("cannot lock the record of calls");
  const Json::ArrayIndex number = callsSoFar(method);
  record(readRequest(method, request));
  close(lock);
  return number;
}

void answer(const std::string& method, ZEVO::APIRequest* request, ZEVO::APIResponse* response) {
  const Json::Value answers = readAnswers()[method];
  const Json::ArrayIndex number = recordCall(method, request);
  if (answers.empty()) throw std::runtime_error("no answer to " + method);
  give(answers[number < answers.size() ? number : answers.size() - 1], response);
}

void list(ZEVO::APIRequest* request, ZEVO::APIResponse* response) {
  answer("list", request, response);
}
void listByUser(ZEVO::APIRequest* request, ZEVO::APIResponse* response) {
  answer("list_by_user", request, response);
}
void kick(ZEVO::APIRequest* request, ZEVO::APIResponse* response) {
  answer("kick_connection", request, response);
}
void disable(ZEVO::APIRequest* request, ZEVO::APIResponse* response) {
  answer("disable_user", request, response);
}
void download(ZEVO::APIRequest* request, ZEVO::APIResponse* response) {
  answer("download", request, response);
}
void wrong(ZEVO::APIRequest*, ZEVO::APIResponse*) {
  std::abort();
}

// The rows ahead of the right ones are not to be called.
std::array<ApiMethodRow, 8> table = {{{"ZEVO.Core.Other", 1, "list", wrong},
                                      {kApi, 2, "list", wrong},
                                      {kApi, 1, "list", list},
                                      {kApi, 1, "list_by_user", listByUser},
                                      {kApi, 1, "kick_connection", kick},
                                      {kApi, 1, "disable_user", disable},
                                      {kApi, 1, "download", download},
                                      {nullptr, 0, nullptr, nullptr}}};

}  // namespace

extern "C" ZEVO_EXPORT ApiMethodRow* GetAPITable() {
  return table.data();
}
