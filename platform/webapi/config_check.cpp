#include "host/config_check.h"

#include <cerrno>

#include "base/group.h"
#include "base/text.h"
#include "host/config.h"
#include "webapi/texts.h"

namespace zevo {
namespace {

bool fail(std::string* error, const char* key, const std::string& reason) {
  *error = configProblem(key, reason);
  return false;
}

bool checkLanguage(std::string* error) {
  const std::string& language = config().language;
  const std::string folder = textsFolder();
  if (language.empty() || closestLanguage(folder, language)) return true;
  std::string known;
  for (const std::string& name : languagesIn(folder)) known += (known.empty() ? "" : ", ") + name;
  return fail(error, "language",
              "there are no texts in the language \"" + printable(language, 80) + "\"; " +
                  (known.empty() ? "none are installed" : "the languages are " + known));
}

bool checkAdministratorsGroup(std::string* error) {
  const std::string& name = config().administratorsGroup;
  if (name.empty() || groupNumber(name)) return true;
  return fail(error, "administrators_group",
              groupFailure(name, errno) +
                  "; set administrators_group to a group of this server, or to \"\" for the "
                  "first of administrators, sudo and wheel that exists");
}

}  // namespace

bool checkConfig(std::string* error) {
  return checkLanguage(error) && checkAdministratorsGroup(error);
}

}  // namespace zevo
