#include "cli/client/list_reader.h"

#include "cli/commands/listing.h"

namespace cli {

std::optional<Page> readList(Client& client, const std::string& filter, Failure* failure) {
  Listing listing;
  listing.filter = filter;
  const Answer answer = client.call(methodOf(listing), parametersOf(listing));
  if (answer.status != Answer::Status::kDone) {
    *failure = explainListFailure(answer, listing);
    return {};
  }
  std::optional<Page> page = parsePage(answer.data);
  if (!page) {
    *failure = explainListFailure(failedAnswer("the answer of \"list\" is no list of connections"),
                                  listing);
    return {};
  }
  page->warnings = answer.warnings;
  return page;
}

}  // namespace cli
