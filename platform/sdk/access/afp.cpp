#include <algorithm>
#include <array>
#include <filesystem>
#include <glob.h>

#include "sdk/access/services.h"
#include "sdk/access/words.h"

namespace zevo::access {
namespace {

constexpr const char* kAfp = "afp";
constexpr const char* kAfpFile = "/etc/netatalk/afp.conf";
constexpr const char* kGuestUam = "uams_guest.so";
constexpr const char* kUsualUams = "uams_dhx.so uams_dhx2.so";

// The value of `name` in the section [Global]; empty if missing.
std::string globalValue(const std::string& text, const std::string& name) {
  bool isGlobal = false;
  std::string value;
  for (const std::string& line : trimmedLines(text)) {
    if (line.starts_with('[')) isGlobal = lowered(line) == "[global]";
    const std::size_t equals = line.find('=');
    if (!isGlobal || line.starts_with('#') || line.starts_with(';')) continue;
    if (equals == std::string::npos) continue;
    const std::string_view all = line;
    if (lowered(trimmed(all.substr(0, equals))) == name) value = trimmed(all.substr(equals + 1));
  }
  return value;
}

// The file of a login method whose name is a link to one of several.
std::string programOf(const Server& server, const std::string& folder, const std::string& uam) {
  std::vector<std::string> patterns = {"/usr/lib/netatalk", "/usr/lib64/netatalk",
                                       "/usr/lib/*/netatalk"};
  if (!folder.empty()) patterns = {folder};
  for (const std::string& pattern : patterns) {
    glob_t found{};
    std::string program;
    if (::glob(server.path(std::string(pattern).append("/").append(uam)).c_str(), 0, nullptr,
               &found) == 0) {
      std::error_code error;
      const std::filesystem::path file = found.gl_pathv[0];
      const auto target = std::filesystem::read_symlink(file, error);
      program = (error ? file : target).filename().string();
    }
    ::globfree(&found);
    if (!program.empty()) return program;
  }
  return uam;
}

ServiceAccess judgeMethod(const Server& server, const std::string& program) {
  static constexpr std::array<std::string_view, 3> kAsksPam = {"uams_pam.so", "uams_dhx_pam.so",
                                                               "uams_dhx2_pam.so"};
  if (std::find(kAsksPam.begin(), kAsksPam.end(), program) != kAsksPam.end()) {
    return server.askPam(kAfp, "netatalk");
  }
  return unknown(kAfp, "other-check", "try-login", program);
}

}  // namespace

std::optional<ServiceAccess> afpAccess(const Server& server, const std::string& account) {
  if (!server.runs("afpd")) return std::nullopt;
  std::string cause;
  const auto text = server.read(kAfpFile, &cause);
  if (!text) return notRead(kAfp, cause);
  std::string uams = globalValue(*text, "uam list");
  if (uams.empty()) uams = kUsualUams;
  std::replace(uams.begin(), uams.end(), ',', ' ');
  std::string guest = globalValue(*text, "guest account");
  if (guest.empty()) guest = "nobody";
  std::vector<ServiceAccess> all;
  for (const std::string& uam : wordsOf(uams)) {
    if (uam == kGuestUam) {
      if (account == guest) return anonymous(kAfp, kGuestUam);
      continue;  // no other account logs in with it
    }
    all.push_back(judgeMethod(server, programOf(server, globalValue(*text, "uam path"), uam)));
  }
  if (!all.empty()) return worstOf(all);
  ServiceAccess none = refused(kAfp, "no-local-logins");
  none.values["file"] = kAfpFile;
  return none;
}

}  // namespace zevo::access
