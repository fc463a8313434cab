// A module whose methods misbehave.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <unistd.h>

#include "zevo/api_request.h"
#include "zevo/api_response.h"
#include "zevo/api_table.h"
#include "zevo/export.h"
#include "zevo/read_notes.h"

namespace {

using ZEVO::APIRequest;
using ZEVO::APIResponse;

void crash(APIRequest* /*request*/, APIResponse* /*response*/) {
  std::signal(SIGABRT, SIG_DFL);
  std::abort();
}

void segfault(APIRequest* /*request*/, APIResponse* /*response*/) {
  ::kill(::getpid(), SIGSEGV);
  ::pause();
}

void hang(APIRequest* /*request*/, APIResponse* /*response*/) {
  for (;;) ::pause();
}

// Hangs in a program that it has started, which ignores all signals that can be ignored.
void hangInChild(APIRequest* /*request*/, APIResponse* /*response*/) {
  if (::fork() == 0) {
    ::signal(SIGTERM, SIG_IGN);
    for (;;) ::pause();
  }
  for (;;) ::pause();
}

void leave(APIRequest* /*request*/, APIResponse* /*response*/) {
  std::printf("Content-Type: text/html\r\n\r\nhalf an answer");
  std::exit(0);
}

void leaveAtOnce(APIRequest* /*request*/, APIResponse* /*response*/) {
  ::_exit(3);
}

void printGarbage(APIRequest* /*request*/, APIResponse* response) {
  std::printf("Status: 302 Found\r\nLocation: http://evil\r\n\r\n");
  response->SetSuccess(Json::Value("fine"));
}

void printWithoutEnd(APIRequest* /*request*/, APIResponse* /*response*/) {
  const std::string text(1024UL * 1024, 'x');
  for (;;) std::fputs(text.c_str(), stdout);
}

void printGarbageAsAnswer(APIRequest* /*request*/, APIResponse* response) {
  response->SetEnableOutput(false);
  std::printf("\x01\x02 no header lines\n\n");
}

void printAnswer(APIRequest* /*request*/, APIResponse* response) {
  response->SetEnableOutput(false);
  std::printf("Content-Type: text/plain\r\n\r\nown answer");
}

void printALot(APIRequest* /*request*/, APIResponse* response) {
  response->SetEnableOutput(false);
  std::printf("Content-Type: text/plain\r\n\r\n");
  const std::string line(1023, 'x');
  for (int i = 0; i < 8192; ++i) std::puts(line.c_str());
}

void throwSomething(APIRequest* /*request*/, APIResponse* /*response*/) {
  throw 42;
}

void throwException(APIRequest* /*request*/, APIResponse* /*response*/) {
  throw std::runtime_error("out \"of\" order");
}

void recordNothing(APIRequest* /*request*/, APIResponse* /*response*/) {}

// What the module is told of the call.
void echo(APIRequest* request, APIResponse* response) {
  Json::Value seen(Json::objectValue);
  seen["user"] = request->GetLoginUserName();
  seen["isAdmin"] = request->IsAdmin();
  seen["sessionFile"] = request->GetSessionFilePath();
  seen["text"] = request->GetAndCheckString("value", ZEVO::PARAM_OPTIONAL, nullptr).Get("none");
  seen["number"] = request->GetAndCheckInt("value", ZEVO::PARAM_OPTIONAL, nullptr).Get(-1);
  response->SetSuccess(seen);
}

// A list of which one source could not be read.
void readPartly(APIRequest* /*request*/, APIResponse* response) {
  zevo::setReadNotes({{"connections_missing", "LOGIN", "cannot read /run/utmp: Is a directory"}});
  response->SetSuccess(Json::Value("rows"));
}

void refuse(APIRequest* /*request*/, APIResponse* response) {
  response->SetError(7100, Json::Value());
}

ApiMethodRow table[] = {{"Test", 1, "crash", &crash},
                        {"Test", 1, "segfault", &segfault},
                        {"Test", 1, "hang", &hang},
                        {"Test", 1, "hang_in_child", &hangInChild},
                        {"Test", 1, "leave", &leave},
                        {"Test", 1, "leave_at_once", &leaveAtOnce},
                        {"Test", 1, "print_garbage", &printGarbage},
                        {"Test", 1, "print_garbage_as_answer", &printGarbageAsAnswer},
                        {"Test", 1, "print_without_end", &printWithoutEnd},
                        {"Test", 1, "print_answer", &printAnswer},
                        {"Test", 1, "print_a_lot", &printALot},
                        {"Test", 1, "throw_something", &throwSomething},
                        {"Test", 1, "throw_exception", &throwException},
                        {"Test", 1, "record_nothing", &recordNothing},
                        {"Test", 1, "read_partly", &readPartly},
                        {"Test", 1, "refuse", &refuse},
                        {"Test", 1, "list", &echo},
                        {"Test", 1, "echo", &echo},
                        {nullptr, 0, nullptr, nullptr}};

}  // namespace

extern "C" ZEVO_EXPORT ApiMethodRow* GetAPITable() {
  return static_cast<ApiMethodRow*>(table);
}
