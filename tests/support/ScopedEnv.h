#pragma once
// Test support: sets an environment variable for a scope (or removes it, given no value) and puts the old
// state back when the scope ends.
#include <cstdlib>
#include <optional>
#include <string>

namespace kvx::test {

class ScopedEnv {
 public:
  ScopedEnv(const char* name, std::optional<std::string> value) : name_(name) {
    if (const char* old = std::getenv(name)) saved_ = old;
    Apply(value);
  }
  // A null `value` removes the variable.
  ScopedEnv(const char* name, const char* value)
      : ScopedEnv(name, value ? std::optional<std::string>(value) : std::nullopt) {}
  ~ScopedEnv() { Apply(saved_); }
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

 private:
  void Apply(const std::optional<std::string>& value) {
    if (value) {
      ::setenv(name_.c_str(), value->c_str(), 1);
    } else {
      ::unsetenv(name_.c_str());
    }
  }
  std::string name_;
  std::optional<std::string> saved_;
};

}  // namespace kvx::test
