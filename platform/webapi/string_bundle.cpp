#include "zevo/string_bundle.h"

#include <initializer_list>
#include <string>
#include <syslog.h>
#include <vector>

#include "host/config.h"
#include "webapi/texts.h"

struct StringBundle::Texts {
  std::vector<zevo::Section> sections;
};

StringBundle::StringBundle(const char* section1, const char* section2, const char* section3,
                           const char* section4, const char* section5, const char* section6)
    : texts_(std::make_unique<Texts>()) {
  std::vector<std::string> names;
  for (const char* name : {section1, section2, section3, section4, section5, section6}) {
    if (name == nullptr) break;
    names.emplace_back(name);
  }
  const std::string& configured = zevo::config().language;
  const std::string locale = configured.empty() ? zevo::environmentLocale() : configured;
  std::string problem;
  if (!zevo::readTexts(zevo::textsFolder(), locale, !configured.empty(), names, &texts_->sections,
                       &problem)) {
    ::syslog(LOG_ERR, "currentconn: %s", problem.c_str());
  }
}

StringBundle::~StringBundle() = default;

const char* StringBundle::Text(const char* key, const char* fallback) const {
  if (key == nullptr) return fallback;
  for (const zevo::Section& section : texts_->sections) {
    const auto text = section.find(std::string_view(key));
    if (text != section.end()) return text->second.c_str();
  }
  return fallback;
}
