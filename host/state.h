// The state of the one host that is alive, and the boundary between the host's code and the library's.
#ifndef VORNIK_HOST_STATE_H
#define VORNIK_HOST_STATE_H

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "host/classes.h"
#include "host/host.h"
#include "host/thing.h"

namespace vornik::host {

struct State {
  explicit State(HostOptions chosen);
  ~State();
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  static bool isAlive();

  HostOptions options;
  // The classes are named by things, so they go last.
  ClassRegistry classes;
  Ledger things;
  ObjectRef strayException;              ///< raised outside of every call; delivered to nobody
  ObjectRef* pending = &strayException;  ///< where the running call keeps the exception raised in it
  std::function<void()> interruption;    ///< script code that is to run in a call of a service
  std::vector<std::string> complaints;   ///< about what the library registered
};

/// The current host's state; aborts when there is no host.
State& state();

/// Whether the library's code is running right now.
inline bool insidePluginNow = false;

/// Crosses into the library's code (true) or back into the host's (false) until the end of the scope.
class Boundary {
 public:
  explicit Boundary(bool inside) : before_(std::exchange(insidePluginNow, inside)) {}
  ~Boundary() { insidePluginNow = before_; }
  Boundary(const Boundary&) = delete;
  Boundary& operator=(const Boundary&) = delete;

 private:
  bool before_;
};

}  // namespace vornik::host

#endif  // VORNIK_HOST_STATE_H
