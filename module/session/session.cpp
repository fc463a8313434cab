#include "session/session.h"

#include "zevo/account.h"

bool Session::setValue(const _tag_ZEVO_CURCONN_* rec) {
  if (rec == nullptr) return false;
  pid = static_cast<std::uint32_t>(rec->pid);
  time = rec->time;
  who = zevo::shownName(rec->user);
  from = rec->from;
  descr = rec->descr;
  set_strType(rec->type);
  return true;
}

bool Session::setValue(unsigned int newPid, const std::string& newType, const std::string& newWho,
                       const std::string& newFrom) {
  if (newPid == 0 || newType.empty() || newWho.empty() || newFrom.empty()) return false;
  pid = newPid;
  time.clear();
  who = newWho;
  from = newFrom;
  descr.clear();
  type = newType;
  return true;
}

void Session::set_strType(int id) {
  switch (id) {
    case ZEVO_CURCONN_CIFS:
      type = "CIFS";
      break;
    case ZEVO_CURCONN_AFP:
      type = "AFP";
      break;
    case ZEVO_CURCONN_FTP:
      type = "FTP";
      break;
    case ZEVO_CURCONN_TELNET:
      type = "TELNET";
      break;
    case ZEVO_CURCONN_HTTP:
      type = "HTTP/HTTPS";
      break;
    case ZEVO_CURCONN_SSH:
      type = "SSH";
      break;
    case ZEVO_CURCONN_LOGIN:
      type = "LOGIN";
      break;
    case ZEVO_CURCONN_NFS:
      type = "NFS";
      break;
    case ZEVO_CURCONN_SFTP:
      type = "SFTP";
      break;
    default:
      type = "UNKNOWN";
  }
}

bool Session::is_equal(const Session& other) const {
  return pid == other.pid && who == other.who && from == other.from && type == other.type;
}

bool Session::check_can_be_kicked() const {
  return type != "NFS";
}

bool Session::check_user_can_be_disabled() const {
  // Names of directory accounts are "domain\user" or "user@domain"; only local accounts can be
  // disabled here.
  return type != "NFS" && who.find_first_of("\\@") == std::string::npos;
}

void Session::toJson(Json::Value& out) const {
  static const Json::StaticString kTime("time");
  static const Json::StaticString kWho("who");
  static const Json::StaticString kFrom("from");
  static const Json::StaticString kType("type");
  static const Json::StaticString kDescr("descr");
  static const Json::StaticString kPid("pid");
  static const Json::StaticString kUserCanBeDisabled("user_can_be_disabled");
  static const Json::StaticString kCanBeKicked("can_be_kicked");
  out[kTime] = time;
  out[kWho] = who;
  out[kFrom] = from;
  out[kType] = type;
  out[kDescr] = descr;
  out[kPid] = pid;
  out[kUserCanBeDisabled] = check_user_can_be_disabled();
  out[kCanBeKicked] = check_can_be_kicked();
}
