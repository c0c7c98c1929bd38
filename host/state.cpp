#include "host/state.h"

#include <stdexcept>

#include "host/exceptions.h"
#include "host/services.h"

namespace vornik::host {

namespace {

State* alive = nullptr;

}  // namespace

State::State(HostOptions chosen) : options(std::move(chosen)) {
  if (alive != nullptr) throw std::logic_error("a host is alive already");
  for (const std::string& name : options.withheld) {
    if (serviceNamed(name) == nullptr) throw std::invalid_argument("there is no service " + name);
  }
  for (Service* service : services()) {
    service->calls = service->callsBefore = 0;
    service->failingCall = service->interruptedCall = Service::kNever;
    service->withheld = false;
  }
  for (const std::string& name : options.withheld) serviceNamed(name)->withheld = true;
  alive = this;
}

State::~State() {
  strayException.reset();
  interruption = nullptr;  // what it keeps alive goes while the host is there
  alive = nullptr;
}

bool State::isAlive() {
  return alive != nullptr;
}

State& state() {
  if (alive == nullptr) fault("no host is alive");
  return *alive;
}

Ledger& ledger() {
  return state().things;
}

Host::PluginCall::PluginCall()
    : outerPending_(state().pending), wasInside_(std::exchange(insidePluginNow, true)) {
  state().pending = &pending_;
}

Host::PluginCall::~PluginCall() {
  leave();
}

void Host::PluginCall::leave() noexcept {
  if (std::exchange(finished_, true)) return;
  insidePluginNow = wasInside_;
  state().pending = outerPending_;
}

void Host::PluginCall::finish() {
  leave();
  if (!pending_) return;
  const ObjectRef exception = std::exchange(pending_, {});
  throw toScriptException(exception);
}

}  // namespace vornik::host
