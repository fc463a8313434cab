// How a read ended. What is gone and what could not be read are told apart, since the first is
// nobody's connection and the second may be somebody's.
#pragma once

#include <string>
#include <utility>

namespace zevo::connections {

// The result of a whole source. Where it failed, what could be read of it is there all the same.
class Outcome {
 public:
  static Outcome done() { return {}; }
  // `cause` is a sentence without a full stop that names the thing and the remedy.
  static Outcome failure(std::string cause) {
    Outcome outcome;
    outcome.cause_ = std::move(cause);
    outcome.failed_ = true;
    return outcome;
  }

  // Takes in how another part of the same source ended: the first failure is the one that is told.
  void add(const Outcome& other) {
    if (!failed_) *this = other;
  }

  [[nodiscard]] bool failed() const { return failed_; }
  [[nodiscard]] const std::string& cause() const { return cause_; }

 private:
  bool failed_ = false;
  std::string cause_;
};

// The result of one reading that concerns one process.
template <typename T>
class Reading {
 public:
  // NOLINTNEXTLINE(google-explicit-constructor): a value is a successful reading of it.
  Reading(T value) : state_(State::kOk), value_(std::move(value)) {}
  // The process ended: there is nothing left to show.
  static Reading gone() { return Reading(State::kGone, {}); }
  // The process may be there but cannot be read: the list would lack it. `cause` as in Outcome.
  static Reading failure(std::string cause) { return Reading(State::kFailed, std::move(cause)); }
  // What another reading says that is not ok.
  template <typename Other>
  static Reading like(const Reading<Other>& other) {
    return other.failed() ? failure(other.cause()) : gone();
  }

  [[nodiscard]] bool ok() const { return state_ == State::kOk; }
  [[nodiscard]] bool isGone() const { return state_ == State::kGone; }
  [[nodiscard]] bool failed() const { return state_ == State::kFailed; }
  [[nodiscard]] const std::string& cause() const { return cause_; }
  // Of an ok reading.
  [[nodiscard]] const T& operator*() const { return value_; }
  [[nodiscard]] const T* operator->() const { return &value_; }
  [[nodiscard]] T& operator*() { return value_; }

 private:
  enum class State { kOk, kGone, kFailed };

  Reading(State state, std::string cause) : state_(state), cause_(std::move(cause)) {}

  State state_;
  T value_{};
  std::string cause_;
};

}  // namespace zevo::connections
