#pragma once

#include <stdexcept>

namespace tovi {

/// The errors of the core. `what()` is the description that reaches logs and replies.
class AgentErrors : public std::runtime_error {
 public:
  enum Case {
    EmptyData,
    ErrorParsing,
    ErrorInActivation,
    ActivationCodeEmpty,
    UninstallError,
    SettingsUnavailable,
    WrongScript,
    AgentStateUnknown,
    KeyChainError,
    UndesiredDomain,
  };

  explicit AgentErrors(Case errorCase);
};

}  // namespace tovi
