#pragma once

#include "core/TimeProvider.h"
#include "events/DNSMessageContainer.h"
#include "events/ToviDNSMessageBuilder.h"
#include "tovi-replay/NoVariables.h"
#include "tovi-replay/ReplayHost.h"

namespace tovi::bench {

/// An event builder with the collaborators that cost least; the packer must outlive it.
class LoneBuilder {
 public:
  explicit LoneBuilder(MessagePackerProtocol& packer)
      : builder_({packer, clock_, host_, host_, variables_, container_, host_}, {}) {}

  void feed(std::string_view text) { builder_.feed(text); }

 private:
  TimeProvider clock_;
  replay::ReplayHost host_;
  replay::NoVariables variables_;
  DNSMessageContainer container_{100};
  ToviDNSMessageBuilder builder_;
};

}  // namespace tovi::bench
