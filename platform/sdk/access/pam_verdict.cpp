#include "sdk/access/pam_verdict.h"

#include <set>
#include <tuple>

namespace zevo::access {
namespace {

// A return value, as far as it matters to the stack.
enum class Kind {
  kSuccess,
  kRenewal,  // new_authtok_reqd: the login continues after a change of the password
  kIgnore,
  kRefusal,
};

struct Outcome {
  Kind kind;
  int action;
};

enum class Impression { kNone, kPositive, kNegative };

// The position in a run through the rules.
struct State {
  std::size_t index = 0;
  Impression impression = Impression::kNone;
  Kind status = Kind::kRefusal;

  bool operator<(const State& other) const {
    return std::tie(index, impression, status) <
           std::tie(other.index, other.impression, other.status);
  }
};

std::vector<Outcome> anyOutcome(const PamControl& control) {
  std::vector<Outcome> outcomes = {{Kind::kSuccess, control.actionOn("success")},
                                   {Kind::kRenewal, control.actionOn("new_authtok_reqd")},
                                   {Kind::kIgnore, control.actionOn("ignore")},
                                   {Kind::kRefusal, control.fallback}};
  for (const auto& [value, action] : control.actions) {
    if (value == "success" || value == "new_authtok_reqd" || value == "ignore") continue;
    outcomes.push_back({Kind::kRefusal, action});
  }
  return outcomes;
}

// What a module can return for an expired local account; `*isKnown` says whether this is known.
std::vector<Outcome> outcomesOf(const PamRule& rule, bool* isKnown) {
  const PamControl& control = rule.control;
  *isKnown = true;
  if (rule.module == "pam_unix.so") return {{Kind::kRefusal, control.actionOn("acct_expired")}};
  if (rule.module == "pam_deny.so") return {{Kind::kRefusal, control.actionOn("auth_err")}};
  if (rule.module == "pam_permit.so") return {{Kind::kSuccess, control.actionOn("success")}};
  // It refuses only while the system is shutting down.
  if (rule.module == "pam_nologin.so" && !rule.hasArguments) {
    return {{Kind::kIgnore, control.actionOn("ignore")}};
  }
  if (rule.module == "pam_localuser.so" && !rule.hasArguments) {
    return {{Kind::kSuccess, control.actionOn("success")}};
  }
  *isKnown = false;
  return anyOutcome(control);
}

// All runs through the rules, which follow libpam's own dispatcher.
class Runs {
 public:
  explicit Runs(const std::vector<PamRule>& rules) : rules_(rules) {}

  PamAnswer judge() {
    waiting_.insert(State{});
    while (!waiting_.empty()) {
      const State state = waiting_.extract(waiting_.begin()).value();
      if (seen_.insert(state).second) step(state);
    }
    if (!mayPass_) return {PamVerdict::kRefuses, ""};
    if (!mayRefuse_) return {PamVerdict::kPasses, ""};
    return {PamVerdict::kUnclear, unknown_};
  }

 private:
  void step(State state) {
    if (state.index >= rules_.size()) {
      end(state);
      return;
    }
    const PamRule& rule = rules_[state.index];
    if (rule.module.empty()) {
      ++state.index;
      waiting_.insert(state);
      return;
    }
    bool isKnown = false;
    const std::vector<Outcome> outcomes = outcomesOf(rule, &isKnown);
    if (!isKnown && unknown_.empty()) unknown_ = rule.module;
    for (const Outcome& outcome : outcomes) take(state, outcome);
  }

  void end(const State& state) {
    const bool passes =
        (state.status == Kind::kSuccess && state.impression == Impression::kPositive) ||
        state.status == Kind::kRenewal;
    (passes ? mayPass_ : mayRefuse_) = true;
  }

  void take(State state, const Outcome& outcome) {
    const int level = rules_[state.index].level;
    switch (outcome.action) {
      case kPamIgnore:
        break;
      case kPamReset:  // its previous state is not kept here
        mayPass_ = mayRefuse_ = true;
        return;
      case kPamBad:
      case kPamDie:
        condemn(&state, outcome.kind);
        break;
      case kPamOk:
      case kPamDone:
        approve(&state, outcome.kind);
        break;
      default:
        jump(&state, level, outcome.action);
    }
    const bool isDone = outcome.action == kPamDone && state.impression == Impression::kPositive;
    if (outcome.action == kPamDie || isDone) state.index = endOfStack(state.index, level);
    ++state.index;
    waiting_.insert(state);
  }

  static void approve(State* state, Kind kind) {
    const bool isOpen =
        state->impression == Impression::kNone ||
        (state->impression == Impression::kPositive && state->status == Kind::kSuccess);
    if (!isOpen || kind == Kind::kIgnore) return;
    if (kind == Kind::kSuccess) state->impression = Impression::kPositive;
    state->status = kind;
  }

  static void condemn(State* state, Kind kind) {
    if (state->impression == Impression::kNegative) return;
    state->impression = Impression::kNegative;
    const bool isSuccess = kind == Kind::kSuccess;
    state->status = kind == Kind::kRenewal || isSuccess ? kind : Kind::kRefusal;
  }

  // The last rule of the stack of `level` that contains `index`.
  [[nodiscard]] std::size_t endOfStack(std::size_t index, int level) const {
    while (index + 1 < rules_.size() && rules_[index + 1].level >= level) ++index;
    return index;
  }

  // Skips `count` rules, counting a substack as one. A jump itself neither accepts nor refuses.
  void jump(State* state, int level, int count) const {
    for (; count > 0; --count) {
      const std::size_t next = state->index + 1;
      if (next >= rules_.size() || rules_[next].level < level) {
        state->impression = Impression::kNegative;
        state->status = Kind::kRefusal;
        return;
      }
      state->index = endOfStack(next, level + 1);
    }
  }

  const std::vector<PamRule>& rules_;
  std::set<State> waiting_;
  std::set<State> seen_;
  bool mayPass_ = false;
  bool mayRefuse_ = false;
  std::string unknown_;
};

}  // namespace

PamAnswer judgeExpired(const std::vector<PamRule>& rules) {
  return Runs(rules).judge();
}

PamAnswer judgeExpired(const std::vector<std::string>& folders, const std::string& root,
                       const std::string& service) {
  std::string cause;
  const auto rules = readPamRules(folders, root, service, &cause);
  if (!rules) return {PamVerdict::kUnclear, cause};
  return judgeExpired(*rules);
}

}  // namespace zevo::access
