// Localised texts. Bundles are built before main() too, so they record on their own as well.
#pragma once

#include <string>
#include <vector>

namespace fakes {

// What was asked of text bundles before main(), in order: "StringBundle(common, null, …)" and
// "Text(key, fallback)".
const std::vector<std::string>& callsWhileLoading();

// What a bundle answers for `key`.
std::string textOf(const std::string& key);

}  // namespace fakes
