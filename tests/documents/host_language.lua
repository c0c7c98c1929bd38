-- The words of an example in the host's language, each {text, word, kind, line, literal}: `word` is what keywords are
-- compared with, lower-case and, for a text, empty; the kind of a literal is its type. Every line ends with the word
-- "\n", the last one too.

local kinds = {
  { "blank", "[ \t]+" }, { "blank", "'[^\n]*" }, { "blank", "//[^\n]*" }, { "blank", "_[ \t]*\n" },
  { "end of line", "\n" }, { "name", "%a[%w_]*" }, { "double", "%d+%.%d+" }, { "integer", "%d+" },
  { "integer", "&[uhb]%x+" }, { "string", '"[^"\n]*"' }, { "operator", "[<>]=" }, { "operator", "<>" },
  { "operator", "[-+*/\\=<>(),.]" },
}
local named = { ["true"] = "boolean", ["false"] = "boolean", ["nil"] = "nil" }
local literal = { double = true, integer = true, string = true, boolean = true, ["nil"] = true }

return function(text)
  local words, line, at = {}, 1, 1
  text = text .. "\n"
  while at <= #text do
    local kind, found
    for _, entry in ipairs(kinds) do
      kind, found = entry[1], text:match("^" .. entry[2], at)
      if found then break end
    end
    if not found then error({ line = line, message = ("nothing begins with '%s'"):format(text:sub(at, at)) }, 0) end
    kind = named[found:lower()] or kind
    if kind ~= "blank" then
      table.insert(words, { text = found, word = kind == "string" and "" or found:lower(), kind = kind, line = line,
                            literal = literal[kind] })
    end
    line = line + (found:find("\n") and 1 or 0)
    at = at + #found
  end
  return words
end
