// One call of a method: the caller and the parameters.
#pragma once

#include <memory>
#include <string>

#include <json/value.h>

#include "zevo/export.h"

namespace ZEVO {

// Whether a parameter is required. It has no other effect: every read returns an APIParameter.
enum PARAM_NECESSITY { PARAM_OPTIONAL = 0, PARAM_REQUIRED = 1 };

// The value of a parameter that was present with the right type, or nothing.
template <typename T>
class APIParameter {
 public:
  APIParameter() = default;
  explicit APIParameter(T value) : value_(std::make_shared<const T>(std::move(value))) {}

  // The value, or `fallback` if the parameter is absent or invalid.
  [[nodiscard]] T Get(const T& fallback) const { return value_ ? *value_ : fallback; }

 private:
  std::shared_ptr<const T> value_;
};

// What the host knows about a call before it runs the handler.
struct RequestContext {
  std::string loginUserName;  // "admin" for uid 0
  bool isAdmin = false;
  bool isDemoMode = false;
  std::string sessionFilePath;  // empty: the call did not come through a web server
  // The object of parameters. In a call whose parameters are `textual` (a query string) each value
  // is a string, which can also be read as an integer if the whole string is one; otherwise values
  // have their JSON types.
  Json::Value parameters = Json::Value(Json::objectValue);
  bool textual = false;
};

// Reads never throw, whatever the client sent; a value of another type counts as absent.
class ZEVO_EXPORT APIRequest {
 public:
  using StringValidator = bool (*)(const std::string&);
  using IntValidator = bool (*)(int);
  using ArrayValidator = bool (*)(const Json::Value&);

  explicit APIRequest(RequestContext context);
  ~APIRequest();
  APIRequest(const APIRequest&) = delete;
  APIRequest& operator=(const APIRequest&) = delete;

  // A null validator accepts every value of the type. Integers are those that fit 32 bits, signed.
  APIParameter<std::string> GetAndCheckString(const char* name, PARAM_NECESSITY necessity,
                                              StringValidator validator);
  APIParameter<int> GetAndCheckInt(const char* name, PARAM_NECESSITY necessity,
                                   IntValidator validator);
  APIParameter<Json::Value> GetAndCheckArray(const char* name, PARAM_NECESSITY necessity,
                                             ArrayValidator validator);
  // Whether the call has the parameter at all, of any type (including null).
  bool HasParam(const char* name);

  bool IsAdmin();
  bool IsDemoMode();
  std::string GetLoginUserName();
  // The path of the session file of the web server through which the call came; empty if there is
  // none.
  std::string GetSessionFilePath();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace ZEVO
