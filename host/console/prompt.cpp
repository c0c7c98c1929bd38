#include "host/console/prompt.h"

#include <editline/readline.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vornik::host::console {
namespace {

lua_State* interruptible = nullptr;

void raiseInterrupt(lua_State* L, lua_Debug*) {
  lua_sethook(L, nullptr, 0, 0);
  luaL_error(L, "interrupted");
}

/// Setting a hook is the one thing that Lua allows in a signal handler; the hook raises the error at a safe
/// point.
void interrupt(int) {
  std::signal(SIGINT, SIG_DFL);
  if (interruptible != nullptr) {
    lua_sethook(interruptible, raiseInterrupt, LUA_MASKCALL | LUA_MASKRET | LUA_MASKLINE | LUA_MASKCOUNT, 1);
  }
}

std::optional<std::string> readLine(bool atTerminal, const char* prompt) {
  if (!atTerminal) {
    std::string line;
    if (!std::getline(std::cin, line)) return std::nullopt;
    return line;
  }
  const std::unique_ptr<char, decltype(&std::free)> line(readline(prompt), &std::free);
  if (line == nullptr) return std::nullopt;
  return std::string(line.get());
}

/// Compiles text to a function on the stack; otherwise leaves the message there.
bool compile(lua_State* L, const std::string& text) {
  return luaL_loadbuffer(L, text.data(), text.size(), "=stdin") == LUA_OK;
}

bool isIncomplete(lua_State* L) {
  const char* const message = lua_tostring(L, -1);
  return message != nullptr && std::string_view(message).ends_with("<eof>");
}

/// Reads further lines as long as the chunk lacks its end. True: a function is on the stack. False: a message
/// is.
bool compileChunk(lua_State* L, bool atTerminal, std::string& chunk) {
  // An expression gets its values printed, so that reading comes first.
  if (compile(L, "return " + chunk)) return true;
  lua_pop(L, 1);
  while (!compile(L, chunk)) {
    if (!isIncomplete(L)) return false;
    const std::optional<std::string> line = readLine(atTerminal, ">> ");
    if (!line) return false;
    lua_pop(L, 1);
    chunk += '\n' + *line;
  }
  return true;
}

bool printValues(Session& session) {
  lua_State* const L = session.state();
  const int values = lua_gettop(L);
  if (values == 0) return true;
  lua_getglobal(L, "print");
  lua_insert(L, 1);
  return session.call(values);
}

bool runChunk(Session& session) {
  interruptible = session.state();
  std::signal(SIGINT, interrupt);
  const bool succeeded = session.call(0) && printValues(session);
  std::signal(SIGINT, SIG_DFL);
  interruptible = nullptr;
  lua_settop(session.state(), 0);
  return succeeded;
}

}  // namespace

bool interact(Session& session) {
  const bool atTerminal = isatty(STDIN_FILENO) != 0;
  if (atTerminal) {
    using_history();
    std::puts("Classes are globals, as in: m = IntegerToIntegerOrderedMapQZR(). End with Ctrl-D.");
  }
  bool succeeded = true;
  while (std::optional<std::string> chunk = readLine(atTerminal, "> ")) {
    const bool compiled = compileChunk(session.state(), atTerminal, *chunk);
    if (atTerminal && !chunk->empty()) add_history(chunk->c_str());
    if (!compiled) session.reportError();
    if (!compiled || !runChunk(session)) succeeded = false;
  }
  if (atTerminal) std::putchar('\n');
  return succeeded || atTerminal;
}

}  // namespace vornik::host::console
