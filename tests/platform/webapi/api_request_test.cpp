#include "zevo/api_request.h"

#include <limits>
#include <memory>
#include <string>

#include <gtest/gtest.h>
#include <json/reader.h>

namespace ZEVO {
namespace {

std::unique_ptr<APIRequest> jsonCall(const std::string& parameters) {
  RequestContext context;
  Json::CharReaderBuilder builder;
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  std::string errors;
  EXPECT_TRUE(reader->parse(parameters.data(), parameters.data() + parameters.size(),
                            &context.parameters, &errors))
      << errors;
  return std::make_unique<APIRequest>(context);
}

std::unique_ptr<APIRequest> queryCall(const std::string& name, const std::string& value) {
  RequestContext context;
  context.textual = true;
  context.parameters[name] = value;
  return std::make_unique<APIRequest>(context);
}

int readInt(APIRequest& request, int fallback = -7) {
  return request.GetAndCheckInt("n", PARAM_OPTIONAL, nullptr).Get(fallback);
}

std::string readString(APIRequest& request) {
  return request.GetAndCheckString("s", PARAM_OPTIONAL, nullptr).Get("fallback");
}

Json::Value readArray(APIRequest& request) {
  return request.GetAndCheckArray("a", PARAM_OPTIONAL, nullptr).Get(Json::Value("fallback"));
}

TEST(JsonParameters, HaveTheTypesOfTheirJson) {
  EXPECT_EQ(readInt(*jsonCall(R"({"n":50})")), 50);
  EXPECT_EQ(readInt(*jsonCall(R"({"n":-2147483648})")), std::numeric_limits<int>::min());
  EXPECT_EQ(readInt(*jsonCall(R"({"n":"50"})")), -7);
  EXPECT_EQ(readString(*jsonCall(R"({"s":"cifs"})")), "cifs");
  EXPECT_EQ(readString(*jsonCall(R"({"s":445})")), "fallback");
  Json::Value array(Json::arrayValue);
  array.append(1);
  array.append("x");
  EXPECT_EQ(readArray(*jsonCall(R"({"a":[1,"x"]})")), array);
}

TEST(JsonParameters, TakeAWholeNumberHoweverItIsWritten) {
  EXPECT_EQ(readInt(*jsonCall(R"({"n":5.0})")), 5);
  EXPECT_EQ(readInt(*jsonCall(R"({"n":5e2})")), 500);
  EXPECT_EQ(readInt(*jsonCall(R"({"n":5.5})")), -7);
}

TEST(JsonParameters, NeverThrowForAnotherType) {
  for (const char* value :
       {"null", "true", "false", "{}", "[]", "\"x\"", "2147483648", "-2147483649",
        "18446744073709551615", "1e300", "-1e300", "99999999999999999999"}) {
    EXPECT_EQ(readInt(*jsonCall(std::string(R"({"n":)") + value + "}")), -7) << value;
  }
  for (const char* value : {"null", "true", "{}", "[]", "1", "1.5"}) {
    EXPECT_EQ(readString(*jsonCall(std::string(R"({"s":)") + value + "}")), "fallback") << value;
  }
  for (const char* value : {"null", "true", "{}", "\"[]\"", "1", "1.5"}) {
    EXPECT_EQ(readArray(*jsonCall(std::string(R"({"a":)") + value + "}")), Json::Value("fallback"))
        << value;
  }
}

TEST(JsonParameters, KeepANulInAText) {
  EXPECT_EQ(readString(*jsonCall(R"({"s":"a\u0000b"})")), std::string("a\0b", 3));
}

TEST(QueryParameters, SatisfyAReadAsStringAlways) {
  EXPECT_EQ(readString(*queryCall("s", "445")), "445");
  EXPECT_EQ(readString(*queryCall("s", "")), "");
}

TEST(QueryParameters, SatisfyAReadAsIntegerWhereTheWholeTextIsOne) {
  EXPECT_EQ(readInt(*queryCall("n", "50")), 50);
  EXPECT_EQ(readInt(*queryCall("n", "-2147483648")), std::numeric_limits<int>::min());
  for (const char* text :
       {"", " 5", "5 ", "+5", "5x", "5.0", "0x5", "2147483648", "-", "99999999999999999999"}) {
    EXPECT_EQ(readInt(*queryCall("n", text)), -7) << text;
  }
}

TEST(QueryParameters, AreNeverArrays) {
  EXPECT_EQ(readArray(*queryCall("a", "[1]")), Json::Value("fallback"));
}

TEST(Parameters, ThatAreMissingTakeTheFallback) {
  const auto request = jsonCall("{}");
  EXPECT_EQ(readInt(*request, 3), 3);
  EXPECT_EQ(readString(*request), "fallback");
  EXPECT_EQ(readArray(*request), Json::Value("fallback"));
  EXPECT_EQ(request->GetAndCheckInt(nullptr, PARAM_REQUIRED, nullptr).Get(4), 4);
}

TEST(Parameters, ThatTheValidatorRefusesTakeTheFallback) {
  const auto request = jsonCall(R"({"n":5,"s":"x","a":[]})");
  EXPECT_EQ(request->GetAndCheckInt("n", PARAM_OPTIONAL, [](int n) { return n > 5; }).Get(1), 1);
  EXPECT_EQ(request->GetAndCheckInt("n", PARAM_OPTIONAL, [](int n) { return n > 4; }).Get(1), 5);
  EXPECT_EQ(
      request
          ->GetAndCheckString("s", PARAM_OPTIONAL, [](const std::string& s) { return s.empty(); })
          .Get("f"),
      "f");
  EXPECT_EQ(
      request
          ->GetAndCheckArray("a", PARAM_OPTIONAL, [](const Json::Value& a) { return !a.empty(); })
          .Get("f"),
      Json::Value("f"));
}

TEST(HasParam, HoldsForEveryType) {
  const auto request = jsonCall(R"({"null":null,"text":"","":1})");
  EXPECT_TRUE(request->HasParam("null"));
  EXPECT_TRUE(request->HasParam("text"));
  EXPECT_TRUE(request->HasParam(""));
  EXPECT_FALSE(request->HasParam("nul"));
  EXPECT_FALSE(request->HasParam(nullptr));
}

TEST(Parameters, MayComeInAValueThatIsNoObject) {
  for (const Json::Value& parameters :
       {Json::Value(), Json::Value("x"), Json::Value(Json::arrayValue), Json::Value(1)}) {
    RequestContext context;
    context.parameters = parameters;
    APIRequest request(context);
    EXPECT_FALSE(request.HasParam("n"));
    EXPECT_EQ(readInt(request), -7);
  }
}

TEST(Request, TellsWhatTheHostKnows) {
  RequestContext context;
  context.loginUserName = "alice";
  context.isAdmin = true;
  context.sessionFilePath = "/run/sessions";
  APIRequest request(context);
  EXPECT_EQ(request.GetLoginUserName(), "alice");
  EXPECT_TRUE(request.IsAdmin());
  EXPECT_FALSE(request.IsDemoMode());
  EXPECT_EQ(request.GetSessionFilePath(), "/run/sessions");
}

}  // namespace
}  // namespace ZEVO
