#include "host/console/session.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "host/console/bindings.h"

namespace vornik::host::console {
namespace {

/// Never fails: it ends the process instead. That leaves Lua's allocating functions nothing to raise, so
/// bindings may call them while C++ objects are alive.
void* allocate(void*, void* block, std::size_t, std::size_t size) {
  if (size == 0) {
    std::free(block);
    return nullptr;
  }
  void* const moved = std::realloc(block, size);
  if (moved == nullptr) {
    std::fputs("vornik-host: out of memory\n", stderr);
    std::_Exit(EXIT_FAILURE);
  }
  return moved;
}

/// Message handler: turns any error value into text that begins with a position in a script.
int describeError(lua_State* L) {
  const char* const text = luaL_tolstring(L, 1, nullptr);
  lua_Debug frame;
  const char* innermost = nullptr;
  for (int level = 0; lua_getstack(L, level, &frame) != 0; ++level) {
    lua_getinfo(L, "Sl", &frame);
    if (frame.currentline <= 0) continue;
    const std::size_t length = std::strlen(frame.short_src);
    if (std::strncmp(text, frame.short_src, length) == 0 && text[length] == ':') return 1;
    if (innermost == nullptr) innermost = lua_pushfstring(L, "%s:%d: ", frame.short_src, frame.currentline);
  }
  if (innermost != nullptr) lua_pushfstring(L, "%s%s", innermost, text);
  return 1;
}

int openEverything(lua_State* L) {
  luaL_openlibs(L);
  openBindings(L);
  return 0;
}

}  // namespace

Session::Session(Host& host) : host_(host), members_(host), state_(lua_newstate(allocate, nullptr)) {
  *static_cast<Session**>(lua_getextraspace(state_)) = this;
  lua_pushcfunction(state_, openEverything);
  if (lua_pcall(state_, 0, 0, 0) != LUA_OK) {
    const std::string reason = lua_tostring(state_, -1);
    close();
    throw std::runtime_error(reason);
  }
}

void Session::close() {
  if (state_ == nullptr) return;
  lua_settop(state_, 0);
  // A state that is closing runs no finalizers for userdata made meanwhile. So references go first, while
  // destructors can still run any script code; a destructor that for ever makes new objects is cut short.
  for (int round = 0; round < 10 && !held_.empty(); ++round) {
    std::vector<std::pair<std::uint64_t, Value*>> newestFirst;
    for (const auto& [held, order] : held_) newestFirst.emplace_back(order, held);
    std::sort(newestFirst.rbegin(), newestFirst.rend());
    for (const auto& [order, held] : newestFirst) {
      const auto still = held_.find(held);
      if (still != held_.end() && still->second == order) release(*held);
    }
  }
  closing_ = true;
  lua_close(state_);
  state_ = nullptr;
}

void Session::hold(Value& held) {
  if (closing_) throw ScriptError("the script is ending, and can hold no more objects");
  held_.emplace(&held, ++lastHeld_);
}

void Session::release(Value& held) {
  if (held_.erase(&held) == 0) return;
  const Value last = std::exchange(held, Value());
}

bool Session::runFile(const std::string& path, const std::vector<std::string>& arguments) {
  lua_createtable(state_, static_cast<int>(arguments.size()), 1);
  lua_pushstring(state_, path.c_str());
  lua_rawseti(state_, -2, 0);
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    lua_pushstring(state_, arguments[i].c_str());
    lua_rawseti(state_, -2, static_cast<lua_Integer>(i) + 1);
  }
  lua_setglobal(state_, "arg");

  if (luaL_loadfile(state_, path == "-" ? nullptr : path.c_str()) != LUA_OK) {
    reportError();
    return false;
  }
  const int count = static_cast<int>(arguments.size());
  if (lua_checkstack(state_, count + LUA_MINSTACK) == 0)
    throw std::runtime_error("too many script arguments");
  for (const std::string& argument : arguments) lua_pushstring(state_, argument.c_str());
  return call(count);
}

bool Session::call(int arguments) {
  const int function = lua_gettop(state_) - arguments;
  lua_pushcfunction(state_, describeError);
  lua_insert(state_, function);
  const bool succeeded = lua_pcall(state_, arguments, LUA_MULTRET, function) == LUA_OK;
  if (!succeeded) reportError();
  lua_remove(state_, function);
  return succeeded;
}

void Session::reportError() {
  std::size_t length = 0;
  const char* const text = lua_tolstring(state_, -1, &length);
  std::string line = text != nullptr ? std::string(text, length) : "error without a message";
  std::replace_if(
      line.begin(), line.end(), [](char c) { return c == '\n' || c == '\r' || c == '\0'; }, ' ');
  std::fprintf(stderr, "vornik-host: %s\n", line.c_str());
  lua_pop(state_, 1);
}

void Session::runDestructor(int functionReference) noexcept {
  if (state_ == nullptr) return;  // the object outlived the state; its leftover reference gets reported
  lua_State* const L = running != nullptr ? running : state_;
  if (lua_checkstack(L, LUA_MINSTACK) == 0) {
    std::fputs("vornik-host: no stack left for a destructor\n", stderr);
    failed_ = true;
    return;
  }
  ++destructorDepth_;
  lua_pushcfunction(L, describeError);
  lua_rawgeti(L, LUA_REGISTRYINDEX, functionReference);
  luaL_unref(L, LUA_REGISTRYINDEX, functionReference);
  if (lua_pcall(L, 0, 0, -2) != LUA_OK) {
    std::fprintf(stderr, "vornik-host: error in a destructor: %s\n", lua_tostring(L, -1));
    lua_pop(L, 1);
    failed_ = true;
  }
  lua_pop(L, 1);
  --destructorDepth_;
}

int Session::finish(int status) {
  close();
  std::fflush(stdout);
  const std::vector<std::string> leftovers = host_.leftovers();
  for (const std::string& leftover : leftovers) {
    std::fprintf(stderr, "vornik-host: left over: %s\n", leftover.c_str());
  }
  if (printCalls_) {
    for (const auto& [service, count] : host_.calls()) {
      std::fprintf(stderr, "%10llu  %s\n", static_cast<unsigned long long>(count), service.c_str());
    }
  }
  return status == EXIT_SUCCESS && (failed_ || !leftovers.empty()) ? EXIT_FAILURE : status;
}

}  // namespace vornik::host::console
