#include "cli/arguments.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "zevo/account.h"

#include "base/numbers.h"
#include "base/text.h"
#include "cli/help_texts.h"
#include "cli/terminal/columns.h"
#include "cli/terminal/text.h"

namespace cli {
namespace {

// Shows an option with an optional value as "--watch[=SECONDS]".
class HelpFormatter : public CLI::Formatter {
 public:
  std::string make_option_opts(const CLI::Option* option) const override {
    const std::string& text = option->get_option_text();
    return text.starts_with('[') ? text : Formatter::make_option_opts(option);
  }
};

// JSON cannot carry other text; invalid bytes would reach the method as U+FFFD.
CLI::Validator isUtf8() {
  const auto fault = [](const std::string& value) {
    return std::string(zevo::validUtf8(value) ? "" : "is not valid UTF-8");
  };
  return {fault, ""};
}

// Any bytes, since the path of a file may contain them.
CLI::Option* addBytes(CLI::App* command, const std::string& name, const char* type,
                      const char* help, std::optional<std::string>* word) {
  const auto take = [word](const std::string& value) { *word = value; };
  return command->add_option_function<std::string>(name, take, help)->option_text(type);
}

void addWord(CLI::App* command, const std::string& name, const char* type, const char* help,
             std::optional<std::string>* word) {
  addBytes(command, name, type, help, word)->check(isUtf8());
}

void addWords(CLI::App* command, const std::string& name, const char* help,
              std::vector<std::string>* words) {
  command->add_option(name, *words, help)
      ->check(isUtf8())
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->option_text(" ");
}

void addSwitch(CLI::App* command, const std::string& name, const char* help, bool* value) {
  command->add_flag(name, *value, help)->disable_flag_override();
}

void addWatch(CLI::App* command, std::optional<std::string>* word) {
  const auto take = [word](const CLI::results_t& results) {
    *word = results.back() == "true" ? "" : results.back();
    return true;
  };
  command->add_option("--watch", take, "Refresh every SECONDS seconds (default: 2)")
      ->expected(0)
      ->option_text("[=SECONDS]");
}

void addConfig(CLI::App* command, std::optional<std::string>* word) {
  addBytes(command, "--config", "FILE", "Read this configuration instead of the default", word);
}

void addOrder(CLI::App* command, ListingWords* words) {
  addWord(command, "--sort-by", "FIELD", "time (default), user, from, resource or service",
          &words->sortBy);
  addSwitch(command, "--asc", "Ascending", &words->ascending);
  addSwitch(command, "--desc", "Descending (default)", &words->descending);
}

void addFilter(CLI::App* command, std::optional<std::string>* word) {
  addWord(command, "--filter", "TEXT", "Only connections that contain TEXT, ignoring case", word);
}

void addListingOptions(CLI::App* command, ListingWords* words) {
  addOrder(command, words);
  addWord(command, "--start", "N", "Skip the first N connections", &words->start);
  addWord(command, "--limit", "N", "Show at most N connections (0: all)", &words->limit);
  addSwitch(command, "--json", "Print the result of the API as it is", &words->asJson);
  addWatch(command, &words->watch);
}

// The options of commands that end connections.
struct CautionWords {
  bool isConfirmed = false;
  bool isDryRun = false;
};

void addCaution(CLI::App* command, CautionWords* words) {
  addSwitch(command, "--yes", "Do not ask", &words->isConfirmed);
  addSwitch(command, "--dry-run", "Only show what would be done", &words->isDryRun);
}

// The grammar of the command line, for CLI11.
struct Grammar {
  CLI::App app{kProgramHelp, "currentconn"};
  std::optional<std::string> configFile;
  ListingWords listWords;
  ListingWords mineWords;
  SelectionWords kickWords;
  std::vector<std::string> disableUsers;
  CautionWords caution;
  std::vector<std::string> enableUsers;
  ShowDisabled showDisabled;
  ListingWords reportWords;
  std::optional<std::string> reportFile;
  std::optional<std::string> reportMode;
  LoginLink loginLink;
  bool isViewLink = false;
  std::optional<std::string> viewDays;

  [[nodiscard]] bool hasWatch() const { return listWords.watch || mineWords.watch; }
};

std::string columnsHelp() {
  std::string text = "\nColumns:\n";
  for (const Column& column : columns()) {
    text += "  " + padText(column.name, 10, false) + column.help + "\n";
  }
  text.pop_back();
  return text;
}

CLI::App* addCommand(Grammar* grammar, const char* name, const char* help,
                     const std::string& footer) {
  CLI::App* command = grammar->app.add_subcommand(name, help);
  command->fallthrough();
  command->group("Commands");
  command->footer(footer);
  addConfig(command, &grammar->configFile);
  return command;
}

void addListings(Grammar* grammar) {
  CLI::App* list = addCommand(grammar, "list", kListHelp, kListExamples + columnsHelp());
  addFilter(list, &grammar->listWords.filter);
  addListingOptions(list, &grammar->listWords);

  CLI::App* mine = addCommand(grammar, "mine", kMineHelp, kMineExamples + columnsHelp());
  addWord(mine, "--user", "NAME", "Connections of this user (default: the caller)",
          &grammar->mineWords.user);
  addListingOptions(mine, &grammar->mineWords);
}

void addKick(Grammar* grammar) {
  CLI::App* kick = addCommand(grammar, "kick", kKickHelp, kKickExamples);
  SelectionWords* words = &grammar->kickWords;
  addWords(kick, "PID", "Process ids, as in the column PID of the list", &words->pids);
  addWord(kick, "--user", "NAME", "Only connections of this user", &words->user);
  addWord(kick, "--from", "ADDRESS", "Only connections from this client", &words->from);
  addWord(kick, "--service", "NAME", "Only connections over this service: cifs, ssh, ...",
          &words->service);
  addFilter(kick, &words->filter);
  addCaution(kick, &grammar->caution);
}

void addDisable(Grammar* grammar) {
  CLI::App* disable = addCommand(grammar, "disable", kDisableHelp, kDisableExamples);
  addWords(disable, "USER", "Names of local accounts", &grammar->disableUsers);
  addCaution(disable, &grammar->caution);
}

void addEnable(Grammar* grammar) {
  CLI::App* enable = addCommand(grammar, "enable", kEnableHelp, kEnableExamples);
  addWords(enable, "USER", "Names of disabled accounts", &grammar->enableUsers);
  CLI::App* disabled = addCommand(grammar, "disabled", kDisabledHelp, kDisabledExamples);
  addSwitch(disabled, "--json", "Print the list as JSON", &grammar->showDisabled.asJson);
}

void addReport(Grammar* grammar) {
  CLI::App* report = addCommand(grammar, "report", kReportHelp, kReportExamples);
  addFilter(report, &grammar->reportWords.filter);
  addOrder(report, &grammar->reportWords);
  addBytes(report, "-o,--output", "FILE", "File to write (default: currentlog.html; -: stdout)",
           &grammar->reportFile);
  addWord(report, "--mode", "MODE", "Octal mode of the file (default: 600)", &grammar->reportMode);
}

void addLoginLink(Grammar* grammar) {
  CLI::App* link = addCommand(grammar, "login-link", kLoginLinkHelp, kLoginLinkExamples);
  addWord(link, "USER", " ", "Account to log in (default: root)", &grammar->loginLink.user);
  addWord(link, "--url", "URL", "Address of the page", &grammar->loginLink.url);
  addSwitch(link, "--view", "View-only login: shows the list, changes nothing",
            &grammar->isViewLink);
  addWord(link, "--days", "N", "Days that a view-only login lasts (default: 30)",
          &grammar->viewDays);
}

std::unique_ptr<Grammar> makeGrammar() {
  auto grammar = std::make_unique<Grammar>();
  CLI::App& app = grammar->app;
  app.require_subcommand(0, 1);
  app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
  app.formatter(std::make_shared<HelpFormatter>());
  app.get_formatter()->column_width(24);
  app.get_formatter()->label("SUBCOMMAND", "COMMAND");
  app.get_formatter()->label("Positionals", "Arguments");
  app.set_help_flag("-h,--help", "Show this help, or that of the command");
  app.set_version_flag("--version", "currentconn " CURRENTCONN_VERSION, "Show the version");
  app.footer(kProgramExamples);
  addConfig(&app, &grammar->configFile);
  addListings(grammar.get());
  addKick(grammar.get());
  addDisable(grammar.get());
  addEnable(grammar.get());
  addReport(grammar.get());
  addLoginLink(grammar.get());
  return grammar;
}

Parsed wrong(std::string sentence) {
  return {Parsed::Kind::kWrong, {}, std::move(sentence)};
}

std::string helpHint(const CLI::App* command) {
  const std::string words = command ? "currentconn " + command->get_name() : "currentconn";
  return "; see \"" + words + " --help\"";
}

const CLI::App* chosenCommand(const Grammar& grammar) {
  const std::vector<CLI::App*> chosen = grammar.app.get_subcommands();
  // At most one can be; g++ 14 misreads a test for empty() as one for null pointers.
  return chosen.size() == 1 ? chosen.front() : nullptr;
}

// A sentence on the first unexpected argument.
std::string unexpectedArgument(const Grammar& grammar) {
  const CLI::App* command = chosenCommand(grammar);
  std::vector<std::string> left = grammar.app.remaining(true);
  const auto isOption = [](const std::string& word) { return word.starts_with('-'); };
  const auto option = std::find_if(left.begin(), left.end(), isOption);
  if (option != left.end()) {
    const std::string name = option->substr(0, option->find('='));
    if (command && command->get_name() == "mine" && name == "--filter") return kNoFilterInMine;
    return (command ? "\"" + command->get_name() + "\" has" : "there is") + " no option \"" + name +
           "\"" + helpHint(command);
  }
  const std::string word = left.empty() ? "" : left.front();
  if (!command) return "there is no command \"" + word + "\"" + helpHint(command);
  const std::string hint =
      grammar.hasWatch() ? "; a time is given as --watch=SECONDS" : helpHint(command);
  return "unexpected argument \"" + word + "\" for \"" + command->get_name() + "\"" + hint;
}

// CLI11's message about an option with too few or too many values begins with the option's name.
std::string mismatchedOption(const CLI::ParseError& error) {
  const std::string text = error.what();
  const std::size_t colon = text.find(':');
  if (colon != std::string::npos) return text.substr(0, colon) + " needs a value";
  return "--" + text.substr(0, text.find(' ')) + " takes no value";
}

// CLI11's message about an invalid value: the option's name, ": " and the reason.
std::string unfitValue(const CLI::ValidationError& error) {
  const std::string text = error.what();
  const std::size_t colon = text.find(':');
  return "the value of " + text.substr(0, colon) + text.substr(colon + 1);
}

Parsed describeError(const Grammar& grammar, const CLI::ParseError& error) {
  const CLI::App* command = chosenCommand(grammar);
  if (error.get_name() == "CallForHelp") return {Parsed::Kind::kShow, {}, grammar.app.help()};
  if (error.get_name() == "CallForVersion") {
    return {Parsed::Kind::kShow, {}, std::string(error.what()) + "\n"};
  }
  if (dynamic_cast<const CLI::ExtrasError*>(&error)) return wrong(unexpectedArgument(grammar));
  if (dynamic_cast<const CLI::ArgumentMismatch*>(&error)) {
    return wrong(mismatchedOption(error) + helpHint(command));
  }
  if (const auto* unfit = dynamic_cast<const CLI::ValidationError*>(&error)) {
    return wrong(unfitValue(*unfit));
  }
  return wrong(std::string(error.what()) + helpHint(command));
}

// CLI11 expects the value of "--option=" in the next argument; here it is an empty value.
std::vector<std::string> wordsOf(int argc, const char* const* argv) {
  std::vector<std::string> words;
  for (int i = 1; i < argc; ++i) {
    const std::string_view word = argv[i];
    const bool endsInEmptyValue =
        word.starts_with("--") && word.find('=') == word.size() - 1 && word != "--=";
    words.emplace_back(endsInEmptyValue ? word.substr(0, word.size() - 1) : word);
    if (endsInEmptyValue) words.emplace_back();
  }
  return words;
}

using Request = decltype(Command::request);

std::optional<Request> readListing(ListingWords words, bool isMine, std::string* wrong) {
  const bool isOwn = isMine && !words.user;
  if (isOwn) words.user = zevo::kRootAlias;
  std::optional<Listing> listing = checkListing(words, wrong);
  if (!listing) return {};
  listing->isOwn = isOwn;
  return std::move(*listing);
}

std::optional<Request> readKick(const Grammar& grammar, std::string* wrong) {
  std::optional<Json::Value> selection = checkSelection(grammar.kickWords, wrong);
  if (!selection) return {};
  return Kick{std::move(*selection), grammar.caution.isConfirmed, grammar.caution.isDryRun};
}

std::optional<Request> readDisable(const Grammar& grammar, std::string* wrong) {
  std::optional<Disable> request = checkDisable(grammar.disableUsers, wrong);
  if (!request) return {};
  request->isConfirmed = grammar.caution.isConfirmed;
  request->isDryRun = grammar.caution.isDryRun;
  return request;
}

std::optional<Request> readEnable(const Grammar& grammar, std::string* wrong) {
  std::optional<Enable> request = checkEnable(grammar.enableUsers, wrong);
  if (!request) return {};
  return std::move(*request);
}

std::optional<Request> readReport(const Grammar& grammar, std::string* wrong) {
  std::optional<Listing> listing = checkListing(grammar.reportWords, wrong);
  if (!listing) return {};
  const std::string file = grammar.reportFile.value_or("currentlog.html");
  const auto mode = zevo::parseNumber<mode_t>(grammar.reportMode.value_or("600"), 8);
  if (!file.empty() && mode && *mode <= 0777) return Report{std::move(*listing), file, *mode};
  *wrong = file.empty() ? "--output must be the name of a file, or - to print the report"
                        : "--mode must be an octal mode up to 777, such as 640, found \"" +
                              *grammar.reportMode + "\"";
  return {};
}

std::optional<Request> readLoginLink(const Grammar& grammar, std::string* wrong) {
  LoginLink link = grammar.loginLink;
  if (!grammar.isViewLink && !grammar.viewDays) return link;
  const auto days = grammar.viewDays ? zevo::parseNumber<int>(*grammar.viewDays) : kViewDays;
  if (grammar.isViewLink && days && *days >= 1 && *days <= kMostViewDays) {
    link.viewDays = days;
    return link;
  }
  *wrong = grammar.isViewLink ? "--days must be 1 to " + std::to_string(kMostViewDays) +
                                    ", found \"" + *grammar.viewDays + "\""
                              : "--days needs --view";
  return {};
}

std::optional<Request> readRequest(const Grammar& grammar, const std::string& name,
                                   std::string* wrong) {
  if (name == "mine") return readListing(grammar.mineWords, true, wrong);
  if (name == "kick") return readKick(grammar, wrong);
  if (name == "disable") return readDisable(grammar, wrong);
  if (name == "enable") return readEnable(grammar, wrong);
  if (name == "disabled") return grammar.showDisabled;
  if (name == "report") return readReport(grammar, wrong);
  if (name == "login-link") return readLoginLink(grammar, wrong);
  return readListing(grammar.listWords, false, wrong);
}

Parsed readWords(const Grammar& grammar) {
  const CLI::App* command = chosenCommand(grammar);
  if (!command) return wrong("a command is missing" + helpHint(nullptr));
  std::string sentence;
  std::optional<Request> request = readRequest(grammar, command->get_name(), &sentence);
  if (!request) return wrong(std::move(sentence));
  Parsed parsed;
  parsed.kind = Parsed::Kind::kRun;
  parsed.command = {command->get_name(), grammar.configFile, std::move(*request)};
  return parsed;
}

}  // namespace

Parsed parseArguments(int argc, const char* const* argv) {
  const std::unique_ptr<Grammar> grammar = makeGrammar();
  std::vector<std::string> words = wordsOf(argc, argv);
  std::reverse(words.begin(), words.end());
  try {
    grammar->app.parse(std::move(words));
  } catch (const CLI::ParseError& error) {
    return describeError(*grammar, error);
  }
  return readWords(*grammar);
}

}  // namespace cli
