#include "sdk/access/pam_verdict.h"

#include <array>
#include <ostream>
#include <security/pam_appl.h>

#include <gtest/gtest.h>

#include "platform/services/proc_tree.h"

namespace zevo::access {

void PrintTo(const PamVerdict& verdict, std::ostream* stream) {
  constexpr std::array<const char*, 3> kNames = {"refuses", "passes", "is unclear"};
  *stream << kNames[static_cast<std::size_t>(verdict)];
}

namespace {

// What a module that we do not know may return.
constexpr std::array<const char*, 7> kReturns = {"success",     "new_authtok_reqd", "ignore",
                                                 "perm_denied", "acct_expired",     "user_unknown",
                                                 "auth_err"};

struct Case {
  const char* name;
  std::string service;  // its account rules
  PamVerdict verdict;
  std::string cause = "";  // of kUnclear
};

void PrintTo(const Case& made, std::ostream* stream) {
  *stream << made.name;
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
  return text;
}

class PamVerdictTest : public ::testing::TestWithParam<Case> {
 protected:
  // The service "tested" of `text` beside files that it may include; "pam_any.so" and
  // "pam_other.so" return `any` and `other`, pam_unix.so what it returns for an expired account.
  void writeForLibpam(const std::string& text, const std::string& any, const std::string& other) {
    const auto write = [&](const std::string& name, std::string content) {
      content = replaced(content, "pam_unix.so", "pam_debug.so acct=acct_expired");
      content = replaced(content, "pam_any.so", "pam_debug.so acct=" + any);
      content = replaced(content, "pam_other.so", "pam_debug.so acct=" + other);
      // libpam takes other names for those of the system's files.
      content = replaced(content, " common\n", " " + tree.folder() + "/libpam/common\n");
      content = replaced(content, " checks\n", " " + tree.folder() + "/libpam/checks\n");
      tree.file("libpam/" + name, content);
    };
    write("tested", text);
    write("common", kCommon);
    write("checks", kChecks);
    write("other", "account required pam_unix.so\n");
  }

  bool isPassed() {
    const pam_conv none{
        [](int, const pam_message**, pam_response**, void*) { return PAM_CONV_ERR; }, nullptr};
    pam_handle_t* handle = nullptr;
    const std::string folder = tree.folder() + "/libpam";
    if (::pam_start_confdir("tested", "nobody", &none, folder.c_str(), &handle) != PAM_SUCCESS) {
      return false;
    }
    const int result = ::pam_acct_mgmt(handle, PAM_SILENT);
    ::pam_end(handle, result);
    return result == PAM_SUCCESS || result == PAM_NEW_AUTHTOK_REQD;
  }

  // What libpam makes of all that the unknown modules may return.
  PamVerdict libpamsVerdict(const std::string& text) {
    bool mayPass = false;
    bool mayRefuse = false;
    for (const char* any : kReturns) {
      for (const char* other : kReturns) {
        writeForLibpam(text, any, other);
        (isPassed() ? mayPass : mayRefuse) = true;
        if (text.find("pam_other.so") == std::string::npos) break;
      }
    }
    if (mayPass && mayRefuse) return PamVerdict::kUnclear;
    return mayPass ? PamVerdict::kPasses : PamVerdict::kRefuses;
  }

  const std::string kCommon =
      "account [success=1 new_authtok_reqd=done default=ignore] pam_unix.so\n"
      "account requisite pam_deny.so\n"
      "account required pam_permit.so\n";
  const std::string kChecks =
      "account required pam_permit.so\naccount sufficient pam_any.so\n"
      "account required pam_unix.so\n";
  const connections::test::ProcTree tree;
};

TEST_P(PamVerdictTest, IsWhatLibpamDoes) {
  tree.file("etc/pam.d/tested", GetParam().service);
  tree.file("etc/pam.d/common", kCommon);
  tree.file("usr/lib/pam.d/checks", kChecks);
  tree.file("etc/pam.d/other", "account required pam_unix.so\n");
  const PamAnswer answer = judgeExpired(
      {tree.folder() + "/etc/pam.d", tree.folder() + "/usr/lib/pam.d"}, tree.folder(), "tested");
  EXPECT_EQ(answer, (PamAnswer{GetParam().verdict, GetParam().cause})) << answer.cause;
  EXPECT_EQ(libpamsVerdict(GetParam().service), GetParam().verdict);
}

const std::vector<Case> kCases = {
    {"Required", "account required pam_unix.so\n", PamVerdict::kRefuses},
    {"Requisite", "account requisite pam_unix.so\n", PamVerdict::kRefuses},
    {"IncludedByDebian", "auth required pam_permit.so\n@include common\n", PamVerdict::kRefuses},
    {"Included", "account include common\n", PamVerdict::kRefuses},
    {"Substack", "account substack common\naccount required pam_permit.so\n", PamVerdict::kRefuses},
    {"WithPermitOnly", "account required pam_permit.so\n", PamVerdict::kPasses},
    {"WithNologinAndPermit", "account required pam_nologin.so\naccount required pam_permit.so\n",
     PamVerdict::kPasses},
    {"WithNothingOfItsOwnItIsOther", "auth required pam_permit.so\n", PamVerdict::kRefuses},
    {"WithACommentOnly", "# account required pam_permit.so\n", PamVerdict::kRefuses},
    {"OptionalBesidePermit", "account optional pam_unix.so\naccount required pam_permit.so\n",
     PamVerdict::kPasses},
    {"OptionalAlone", "account optional pam_unix.so\n", PamVerdict::kRefuses},
    {"SufficientBeforePermit", "account sufficient pam_unix.so\naccount required pam_permit.so\n",
     PamVerdict::kPasses},
    {"SufficientAlone", "account sufficient pam_unix.so\n", PamVerdict::kRefuses},
    {"SufficientPermitBefore", "account sufficient pam_permit.so\naccount required pam_unix.so\n",
     PamVerdict::kPasses},
    {"SufficientPermitBehind", "account required pam_unix.so\naccount sufficient pam_permit.so\n",
     PamVerdict::kRefuses},
    {"UnknownSufficientBefore", "account sufficient pam_any.so\naccount required pam_unix.so\n",
     PamVerdict::kUnclear, "pam_any.so"},
    {"UnknownRequiredBefore", "account required pam_any.so\naccount required pam_unix.so\n",
     PamVerdict::kRefuses},
    {"UnknownOptionalBefore", "account optional pam_any.so\naccount required pam_unix.so\n",
     PamVerdict::kRefuses},
    {"UnknownBehind",
     "account required pam_unix.so\naccount [default=bad success=ok user_unknown=ignore] "
     "pam_any.so\naccount sufficient pam_other.so\n",
     PamVerdict::kRefuses},
    {"UnknownAlone", "account required pam_any.so\n", PamVerdict::kUnclear, "pam_any.so"},
    {"UnknownBesidePermit", "account required pam_permit.so\naccount required pam_any.so\n",
     PamVerdict::kUnclear, "pam_any.so"},
    {"UnknownOptionalBesidePermit", "account required pam_permit.so\naccount optional pam_any.so\n",
     PamVerdict::kPasses},
    {"TwoUnknownThatMayBothJump",
     "account [success=2 new_authtok_reqd=done default=ignore] pam_unix.so\n"
     "account [success=1 new_authtok_reqd=done default=ignore] pam_any.so\n"
     "account requisite pam_deny.so\naccount required pam_permit.so\n",
     PamVerdict::kUnclear, "pam_any.so"},
    {"ExpiryIgnored",
     "account [acct_expired=ignore default=bad] pam_unix.so\n"
     "account required pam_permit.so\n",
     PamVerdict::kPasses},
    {"ExpiryTakenForSuccess", "account [acct_expired=ok default=bad] pam_unix.so\n",
     PamVerdict::kRefuses},
    {"BracketsWithoutAWordOnExpiry",
     "account [success=ok] pam_unix.so\naccount required pam_permit.so\n", PamVerdict::kRefuses},
    {"JumpOverTheCheck",
     "account [default=1] pam_permit.so\naccount required pam_unix.so\naccount required "
     "pam_permit.so\n",
     PamVerdict::kPasses},
    {"JumpOverASubstack",
     "account [default=1] pam_permit.so\naccount substack common\naccount required "
     "pam_permit.so\n",
     PamVerdict::kPasses},
    {"JumpOverTheEnd", "account [default=5] pam_permit.so\naccount required pam_permit.so\n",
     PamVerdict::kRefuses},
    {"DieInASubstackEndsOnlyIt", "account substack common\naccount sufficient pam_permit.so\n",
     PamVerdict::kRefuses},
    {"DoneInASubstackEndsOnlyIt", "account substack checks\naccount required pam_unix.so\n",
     PamVerdict::kRefuses},
    {"SufficientInASubstack", "account substack checks\n", PamVerdict::kUnclear, "pam_any.so"},
    {"DoneInAnIncludeEndsAll", "account include checks\naccount required pam_unix.so\n",
     PamVerdict::kUnclear, "pam_any.so"},
    {"ContinuedLine", "account \\\n  required \\\n  pam_unix.so broken_shadow # expiry\n",
     PamVerdict::kRefuses},
    {"UpperCase", "ACCOUNT REQUIRED pam_unix.so\n", PamVerdict::kRefuses},
    {"WithADash", "-account required pam_unix.so\n", PamVerdict::kRefuses},
};

INSTANTIATE_TEST_SUITE_P(Rules, PamVerdictTest, ::testing::ValuesIn(kCases),
                         [](const auto& made) { return std::string(made.param.name); });

class PamFilesTest : public ::testing::Test {
 protected:
  PamAnswer judge(const std::string& service) {
    return judgeExpired({tree.folder() + "/etc/pam.d"}, tree.folder(), service);
  }
  const connections::test::ProcTree tree;
};

TEST_F(PamFilesTest, AServiceWithoutAFileIsOther) {
  tree.file("etc/pam.d/other", "account required pam_permit.so\n");
  EXPECT_EQ(judge("ftp").verdict, PamVerdict::kPasses);
}

TEST_F(PamFilesTest, WithoutAnyFileItIsUnclear) {
  EXPECT_EQ(judge("ftp"), (PamAnswer{PamVerdict::kUnclear, "there is no PAM service other"}));
}

TEST_F(PamFilesTest, AMissingIncludeIsUnclear) {
  tree.file("etc/pam.d/ftp", "account required pam_unix.so\n@include gone\n");
  EXPECT_EQ(judge("ftp"), (PamAnswer{PamVerdict::kUnclear, "there is no PAM service gone"}));
}

TEST_F(PamFilesTest, FilesThatIncludeEachOtherAreUnclear) {
  tree.file("etc/pam.d/ftp", "@include ftp\n@include ftp\n");
  EXPECT_EQ(judge("ftp"), (PamAnswer{PamVerdict::kUnclear, "ftp includes too many others"}));
}

TEST_F(PamFilesTest, AnUnknownControlIsUnclear) {
  tree.file("etc/pam.d/ftp", "account perhaps pam_unix.so\n");
  EXPECT_EQ(judge("ftp").verdict, PamVerdict::kUnclear);
  tree.file("etc/pam.d/ftp", "account [success=perhaps] pam_unix.so\n");
  EXPECT_EQ(judge("ftp").verdict, PamVerdict::kUnclear);
  tree.file("etc/pam.d/ftp", "account required\n");
  EXPECT_EQ(judge("ftp").verdict, PamVerdict::kUnclear);
}

TEST_F(PamFilesTest, AnAbsoluteIncludeLiesBelowTheRoot) {
  tree.file("etc/pam.d/ftp", "@include /etc/rules\n");
  tree.file("etc/rules", "account required pam_unix.so\n");
  EXPECT_EQ(judge("ftp").verdict, PamVerdict::kRefuses);
}

TEST_F(PamFilesTest, WhatIsResetIsUnclear) {
  tree.file("etc/pam.d/ftp", "account [default=reset] pam_permit.so\n");
  EXPECT_EQ(judge("ftp").verdict, PamVerdict::kUnclear);
}

}  // namespace
}  // namespace zevo::access
