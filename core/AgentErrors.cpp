#include "core/AgentErrors.h"

namespace tovi {

static const char* description(AgentErrors::Case errorCase) {
  switch (errorCase) {
    case AgentErrors::EmptyData:
      return "Empty data";
    case AgentErrors::ErrorParsing:
      return "Error parsing data";
    case AgentErrors::ErrorInActivation:
      return "Error in activation";
    case AgentErrors::ActivationCodeEmpty:
      return "Activation code empty";
    case AgentErrors::UninstallError:
      return "Uninstall error";
    case AgentErrors::SettingsUnavailable:
      return "Settings unavailable";
    case AgentErrors::WrongScript:
      return "Script error";
    case AgentErrors::AgentStateUnknown:
      return "Agent state unknown";
    case AgentErrors::KeyChainError:
      return "Error reading key chain";
    case AgentErrors::UndesiredDomain:
      return "Domain found in undesired domains list";
  }
  return "";
}

AgentErrors::AgentErrors(Case errorCase) : std::runtime_error(description(errorCase)) {}

}  // namespace tovi
