#include "calls/pam_login.h"

#include <cstdlib>
#include <cstring>
#include <security/pam_appl.h>
#include <utility>

#include "host/config.h"

namespace calls {
namespace {

struct Responses {
  explicit Responses(int size)
      : count(size),
        all(static_cast<pam_response*>(
            std::calloc(static_cast<std::size_t>(size), sizeof(pam_response)))) {}
  ~Responses() {
    for (int i = 0; all != nullptr && i < count; ++i) {
      if (all[i].resp != nullptr) ::explicit_bzero(all[i].resp, std::strlen(all[i].resp));
      std::free(all[i].resp);
    }
    std::free(all);
  }
  Responses(const Responses&) = delete;
  Responses& operator=(const Responses&) = delete;
  pam_response* release() { return std::exchange(all, nullptr); }

  int count;
  pam_response* all;
};

// Answers each question without echo with the password. Other questions (a new password, a second
// factor) cannot be answered, and the login fails.
int converse(int count, const pam_message** messages, pam_response** answers, void* data) {
  if (count <= 0 || count > PAM_MAX_NUM_MSG) return PAM_CONV_ERR;
  Responses responses(count);
  if (responses.all == nullptr) return PAM_BUF_ERR;
  const auto* password = static_cast<const Secret*>(data);
  for (int i = 0; i < count; ++i) {
    const int style = messages[i]->msg_style;
    if (style == PAM_TEXT_INFO || style == PAM_ERROR_MSG) continue;
    if (style != PAM_PROMPT_ECHO_OFF) return PAM_CONV_ERR;
    responses.all[i].resp = ::strdup(password->text().c_str());  // PAM wipes and frees it
    if (responses.all[i].resp == nullptr) return PAM_BUF_ERR;
  }
  *answers = responses.release();
  return PAM_SUCCESS;
}

void noDelay(int /*status*/, unsigned /*microseconds*/, void* /*data*/) {}

// One conversation with PAM, ended with its last result.
class Session {
 public:
  Session(const std::string& name, const Secret& password)
      : conversation_{&converse, const_cast<Secret*>(&password)}, result_(start(name.c_str())) {}
  ~Session() {
    if (handle_ != nullptr) ::pam_end(handle_, result_);
  }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  bool run(const std::string& address) {
    return result_ == PAM_SUCCESS && step(::pam_set_item(handle_, PAM_RHOST, address.c_str())) &&
           step(::pam_set_item(handle_, PAM_TTY, kPamService)) &&
           step(::pam_set_item(handle_, PAM_FAIL_DELAY, pointerTo(&noDelay))) &&
           step(::pam_authenticate(handle_, PAM_SILENT | PAM_DISALLOW_NULL_AUTHTOK)) &&
           step(::pam_acct_mgmt(handle_, PAM_SILENT | PAM_DISALLOW_NULL_AUTHTOK));
  }

  [[nodiscard]] std::string account() const {
    const void* name = nullptr;
    const int found = ::pam_get_item(handle_, PAM_USER, &name);
    return found == PAM_SUCCESS && name != nullptr ? static_cast<const char*>(name) : "";
  }

  [[nodiscard]] std::string reason() const { return ::pam_strerror(handle_, result_); }

 private:
  int start(const char* name) {
    const std::string& folder = zevo::config().pamFolder;
    return folder.empty()
               ? ::pam_start(kPamService, name, &conversation_, &handle_)
               : ::pam_start_confdir(kPamService, name, &conversation_, folder.c_str(), &handle_);
  }
  bool step(int result) {
    result_ = result;
    return result == PAM_SUCCESS;
  }
  // PAM passes the address of a function as that of an object.
  static const void* pointerTo(void (*function)(int, unsigned, void*)) {
    return reinterpret_cast<const void*>(function);
  }

  pam_conv conversation_;
  pam_handle_t* handle_ = nullptr;
  int result_;
};

}  // namespace

PamResult checkPassword(const std::string& name, const Secret& password,
                        const std::string& address) {
  if (password.text().empty()) return {false, "", "no password was given"};
  Session session(name, password);
  if (!session.run(address)) return {false, "", session.reason()};
  return {true, session.account(), ""};
}

}  // namespace calls
