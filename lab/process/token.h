// Access tokens: who a process or a thread acts for.
#pragma once

#include <memory>
#include <string_view>
#include <utility>

#include "machine/accounts.h"
#include "machine/handles.h"
#include "machine/machine.h"

namespace Lab {

class Token : public Object {
 public:
  const char* TypeName() const override { return "Token"; }

  /// \return True for a token that starts processes; only the other kind can be asked for groups.
  virtual bool IsPrimary() const = 0;

  /// \return The same identity in a token that can be asked for groups; null when this one was
  ///         opened without the right to be duplicated.
  virtual std::shared_ptr<Token> ToImpersonate() const = 0;

  /// \return True when the identity is that of the SID or belongs to that group.
  virtual bool IsOf(std::wstring_view wanted) const = 0;
};

/// What a logon gives: the token of its account.
class LogonToken : public Token {
 public:
  LogonToken(Account account, bool isPrimary)
      : account_(std::move(account)), isPrimary_(isPrimary) {}

  bool IsPrimary() const override { return isPrimary_; }
  std::shared_ptr<Token> ToImpersonate() const override {
    return std::make_shared<LogonToken>(account_, false);
  }
  bool IsOf(std::wstring_view wanted) const override { return account_.IsOf(wanted); }

 private:
  const Account account_;
  const bool isPrimary_;
};

/// The token of the agent's own process, that of the machine's user, opened to be asked and no
/// more.
class ProcessToken : public Token {
 public:
  bool IsPrimary() const override { return true; }
  std::shared_ptr<Token> ToImpersonate() const override { return nullptr; }
  bool IsOf(std::wstring_view wanted) const override {
    return TheMachine().Describe().UserIsOf(wanted);
  }
};

/// What a thread has that acts for its own process's user.
class ThreadToken : public Token {
 public:
  bool IsPrimary() const override { return false; }
  /// Opened to be asked and no more, like the process's.
  std::shared_ptr<Token> ToImpersonate() const override { return nullptr; }
  bool IsOf(std::wstring_view wanted) const override {
    return TheMachine().Describe().UserIsOf(wanted);
  }
};

}  // namespace Lab
