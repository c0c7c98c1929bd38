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
#include <utility>

namespace vornik::host::console {
namespace {

lua_State* interruptible = nullptr;

void raiseInterrupt(lua_State* L, lua_Debug*) {
  lua_sethook(L, nullptr, 0, 0);
  luaL_error(L, "interrupted");
}

/// Setting a hook is the one thing that Lua allows in a signal handler; the hook raises the error at a
/// safe point.
void interrupt(int) {
  std::signal(SIGINT, SIG_DFL);
  if (interruptible != nullptr) {
    lua_sethook(interruptible, raiseInterrupt, LUA_MASKCALL | LUA_MASKRET | LUA_MASKLINE | LUA_MASKCOUNT, 1);
  }
}

/// Input by lines, which it counts: prompts and error messages name them.
class Lines {
 public:
  explicit Lines(bool atTerminal) : atTerminal_(atTerminal) {}

  bool atTerminal() const { return atTerminal_; }
  std::size_t count() const { return count_; }

  /// The next line; nothing at the end of the input. The prompt is the line's number and this.
  std::optional<std::string> next(const char* prompt) {
    if (!atTerminal_) {
      std::string line;
      if (!std::getline(std::cin, line)) return std::nullopt;
      ++count_;
      return line;
    }
    const std::string numbered = std::to_string(count_ + 1) + prompt;
    const std::unique_ptr<char, decltype(&std::free)> line(readline(numbered.c_str()), &std::free);
    if (line == nullptr) return std::nullopt;
    ++count_;
    return std::string(line.get());
  }

 private:
  bool atTerminal_;
  std::size_t count_ = 0;
};

/// Text of the input and the line that it begins on.
struct Chunk {
  std::string text;
  std::size_t line;
};

/// Compiles a chunk, with `before` ahead of it on its first line, to a function on the stack; otherwise
/// leaves the message there.
bool compile(lua_State* L, const Chunk& chunk, const char* before = "") {
  const std::string text = std::string(chunk.line - 1, '\n') + before + chunk.text;  // so that Lua counts too
  return luaL_loadbuffer(L, text.data(), text.size(), "=stdin") == LUA_OK;
}

bool isIncomplete(lua_State* L) {
  const char* const message = lua_tostring(L, -1);
  return message != nullptr && std::string_view(message).ends_with("<eof>");
}

/// Reads further lines as long as the chunk lacks its end. True: a function is on the stack. False: a
/// message is.
bool compileChunk(lua_State* L, Lines& lines, Chunk& chunk) {
  // An expression gets its values printed, so that reading comes first.
  if (compile(L, chunk, "return ")) return true;
  lua_pop(L, 1);
  while (!compile(L, chunk)) {
    if (!isIncomplete(L)) return false;
    const std::optional<std::string> line = lines.next(">> ");
    if (!line) return false;
    lua_pop(L, 1);
    chunk.text += '\n' + *line;
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

constexpr char kHelp[] = R"(Classes are globals, members keep their names, and a call has a colon:
  m = IntegerToStringOrderedMapQZR()                 a new object
  m.value[3] = "x"    m.value[3]                     assigning and reading by key
  m.Count    it = m.first    it.Key                  what takes no argument is read as it is
  m:lookup(5, "none")    m:Remove(3)                 calls
  for key, value in pairs(m) do print(key, value) end
  for _, class in ipairs(Classes()) do print(class.name) end
An expression shows its values. The rest is in docs/stand-in-host.md, the classes are in docs/reference/README.md.
exit, or the end of the input, ends.)";

/// Whether a line is this word and nothing else, with or without parentheses, and not a variable of the script.
bool isCommand(lua_State* L, std::string_view line, const char* word) {
  const auto trim = [&line](std::string_view blanks) {
    line.remove_suffix(line.size() - 1 - line.find_last_not_of(blanks));
  };
  trim(" \t;");
  if (line.ends_with("()")) line.remove_suffix(2);
  if (line != word) return false;
  const bool isFree = lua_getglobal(L, word) == LUA_TNIL;
  lua_pop(L, 1);
  return isFree;
}

}  // namespace

bool interact(Session& session) {
  Lines lines(isatty(STDIN_FILENO) != 0);
  if (lines.atTerminal()) {
    using_history();
    std::puts("Classes are globals, as in: m = IntegerToIntegerOrderedMapQZR(). help shows more, exit ends.");
  }
  bool succeeded = true;
  while (std::optional<std::string> line = lines.next("> ")) {
    if (isCommand(session.state(), *line, "exit")) return succeeded || lines.atTerminal();
    if (isCommand(session.state(), *line, "help")) {
      std::puts(kHelp);
      continue;
    }
    Chunk chunk{std::move(*line), lines.count()};
    const bool compiled = compileChunk(session.state(), lines, chunk);
    if (lines.atTerminal() && !chunk.text.empty()) add_history(chunk.text.c_str());
    if (!compiled) session.reportError();
    if (!compiled || !runChunk(session)) succeeded = false;
  }
  if (lines.atTerminal()) std::putchar('\n');
  return succeeded || lines.atTerminal();
}

}  // namespace vornik::host::console
