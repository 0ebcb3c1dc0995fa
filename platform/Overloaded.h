#pragma once

namespace tovi::platform {

/// Functions, one for each alternative, as std::visit takes them.
template <typename... Alternatives>
struct Overloaded : Alternatives... {
  using Alternatives::operator()...;
};
template <typename... Alternatives>
Overloaded(Alternatives...) -> Overloaded<Alternatives...>;

}  // namespace tovi::platform
