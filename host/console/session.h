// One run of the console: a Lua state on top of a loaded host.
#ifndef VORNIK_HOST_CONSOLE_SESSION_H
#define VORNIK_HOST_CONSOLE_SESSION_H

#include <cstdint>
#include <lua.hpp>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/console/members.h"
#include "host/host.h"

namespace vornik::host::console {

class Session {
 public:
  /// Opens the Lua libraries and makes the host's classes known. The host has its library loaded and outlives
  /// the session.
  explicit Session(Host& host);
  ~Session() { close(); }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// The session that a state, or any of its coroutines, belongs to.
  static Session& of(lua_State* L) { return **static_cast<Session**>(lua_getextraspace(L)); }

  Host& host() { return host_; }
  lua_State* state() { return state_; }
  Members& members() { return members_; }

  /// Runs a script file ("-": standard input); false after an error, which is on stderr in one line.
  bool runFile(const std::string& path, const std::vector<std::string>& arguments);
  /// Calls the function below `arguments` values on the stack, all of which it removes. Reports as runFile().
  bool call(int arguments);
  /// Writes the error message on top of the stack to stderr, as one line, and removes it.
  void reportError();

  /// Ends the run: closes the Lua state, lists what still holds references, and the calls if asked to.
  /// Returns the exit code: the given one, or 1 if that is 0 and something went wrong on the way.
  int finish(int status);
  void printCallsAtEnd() { printCalls_ = true; }

  /// Runs and forgets the Lua function of a script object that is going away. It may be called at any depth
  /// inside the library, so errors end here: they go to stderr and make the run fail.
  void runDestructor(int functionReference) noexcept;
  bool inDestructor() const { return destructorDepth_ > 0; }

  /// Registers memory that is about to hold a reference for a script. ScriptError when the session is ending.
  void hold(Value& held);
  /// Gives the reference back, which may run destructors, and leaves nil in the memory.
  void release(Value& held);

  /// The state (main or coroutine) whose call into the host is under way, null between calls.
  lua_State* running = nullptr;
  /// The object that the latest binding read a member of, null after any other binding; see callRead().
  const void* readFrom = nullptr;
  const Member* readMember = nullptr;  ///< valid while `readFrom` is not null

 private:
  void close();

  Host& host_;
  Members members_;
  lua_State* state_;
  std::unordered_map<Value*, std::uint64_t> held_;  // by order of creation
  std::uint64_t lastHeld_ = 0;
  bool closing_ = false;
  bool printCalls_ = false;
  bool failed_ = false;
  int destructorDepth_ = 0;
};

}  // namespace vornik::host::console

#endif  // VORNIK_HOST_CONSOLE_SESSION_H
