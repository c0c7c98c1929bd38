-- Checks examples in the host's language against what the library registered: that every variable, class and member
-- exists, that calls have arguments in number and kind that a declaration takes, and that what is assigned fits. It reads
-- an example once, word by word, and keeps no more of it than the types of its variables. Types are known by lower-case
-- names; an array's ends in "()", that of a method without a result is "nothing", and that of Nil "nil".

-- ---- Types: what is declared, and as much of the language's own as the documents need ----

-- Behind a member's parameters stands its result. What begins with a dot is no type but stands ahead of a dot itself;
-- what stands alone in expressions is a member of ".".
local own = {
  integer = "ToString() string", double = "ToString() string", boolean = "ToString() string",
  string = [[Split(string) string(); Length() integer; ToInteger() integer; Left(integer) string;
    Middle(integer) string; IndexOf(string) integer; ReplaceAll(string, string) string;
    DefineEncoding(textencoding) string]],
  variant = "StringValue() string; IntegerValue() integer; DoubleValue() double; IsNull() boolean",
  dictionary = "Constructor(); Value(variant) variant; HasKey(variant) boolean; KeyCount() integer",
  textencoding = "",
  [".encodings"] = "UTF8() textencoding; WindowsLatin1() textencoding; ISOLatin1() textencoding",
  [".system"] = "DebugLog(string)", ["."] = "Chr(integer) string",
}
for name in ("runtime keynotfound nilobject outofbounds"):gmatch("%a+") do
  own[name .. "exception"] = "Message() string"
end
local ofArray = "Add(E); Count() integer; LastIndex() integer; IndexOf(E) integer"

local function add(members, name, types, required, result)
  for i, each in ipairs(types) do types[i] = each:lower() end
  members[name:lower()] = members[name:lower()] or {}
  result = result and result:lower() or "nothing"
  table.insert(members[name:lower()], { name = name, types = types, required = required, result = result })
end

-- By name: {name, members, element}, the members by lower-case names, too, each a list of overloads.
local types = {}
local function define(name, declarations, element)
  local members = {}
  for member, parameters, result in declarations:gmatch("(%w+)(%b()) ?([%a()]*)") do
    local of = {}
    for each in parameters:sub(2, -2):gmatch("[^%s,]+") do table.insert(of, each) end
    add(members, member, of, #of, result ~= "" and result or nil)
  end
  types[name:lower()] = { name = name, members = members, element = element }
  return types[name:lower()]
end
setmetatable(types, { __index = function(_, name)
  local element = name:match("^(.+)%(%)$")
  return element and types[element] and define(name, ofArray:gsub("E([,)])", element .. "%1"), element)
end })
for name, declarations in pairs(own) do define(name, declarations) end
for _, class in ipairs(Classes()) do
  local members = define(class.name, "").members
  for _, property in ipairs(class.properties) do add(members, property.name, {}, 0, property.type) end
  for _, method in ipairs(class.methods) do
    add(members, method.name, { table.unpack(method.types) }, method.required, method.result)
  end
end

-- Whether a value of one type may stand where another is wanted.
local function fits(given, wanted)
  if given == "nothing" or given == wanted then return given ~= "nothing" end
  if wanted == "variant" or given == "variant" then return true end
  if given == "nil" then return not types[wanted].members.tostring and wanted ~= "string" end
  local conversion = types[given].members.operator_convert
  return wanted == "double" and given == "integer" or conversion ~= nil and conversion[1].result == wanted
end

-- ---- Words: each {text, word, line, literal, isName}, the word in lower case, the literal a type ----

local patterns = {
  { "blank", "[ \t]+" }, { "blank", "'[^\n]*" }, { "blank", "//[^\n]*" }, { "blank", "_[ \t]*\n" }, { nil, "\n" },
  { "name", "%a[%w_]*" }, { "double", "%d+%.%d+" }, { "integer", "%d+" }, { "integer", "&[uhb]%x+" },
  { "string", '"[^"\n]*"' }, { nil, "[<>]=" }, { nil, "<>" }, { nil, "[-+*/\\=<>(),.]" },
}
local named = { ["true"] = "boolean", ["false"] = "boolean", ["nil"] = "nil" }

local function wordsOf(text)
  local words, line, at = {}, 1, 1
  while at <= #text do
    local kind, found
    for _, pattern in ipairs(patterns) do
      kind, found = pattern[1], text:match("^" .. pattern[2], at)
      if found then break end
    end
    if not found then error({ line = line, message = ("nothing begins with '%s'"):format(text:sub(at, at)) }, 0) end
    local literal = named[found:lower()] or kind ~= "name" and kind or nil
    if kind ~= "blank" then
      table.insert(words, { text = found, word = found:lower(), line = line, literal = literal,
                            isName = kind == "name" })
    end
    line = line + (found:find("\n") and 1 or 0)
    at = at + #found
  end
  return words
end

-- ---- The checker. A fault is raised as a table {line, message}. ----

local Checker = {}
Checker.__index = Checker

-- What is declared at the outermost level of one example is known in the next; a checker may begin with another's
-- names.
function Checker.new(outer)
  outer = outer or { routines = types["."].members }
  return setmetatable({ outermost = setmetatable({}, { __index = outer.outermost }),
                        routines = setmetatable({}, { __index = outer.routines }) }, Checker)
end
function Checker:fail(message, ...)
  error({ line = self.words[self.at].line, message = message:format(...) }, 0)
end
function Checker:is(word) return self.words[self.at].word == word end
function Checker:take()
  self.at = self.at + 1
  return self.words[self.at - 1]
end
function Checker:accept(word) return self:is(word) and self:take() end
function Checker:expect(word)
  if not self:accept(word) then self:fail("'%s' is wanted, not '%s'", word, self.words[self.at].text) end
end
function Checker:name()
  if not self.words[self.at].isName then self:fail("a name is wanted, not '%s'", self.words[self.at].text) end
  return self:take().text
end
function Checker:type()
  local name = self:name()
  if not types[name:lower()] then self:fail("there is no type '%s'", name) end
  return name:lower()
end
-- "()" behind the name of an array or of its type.
function Checker:brackets() return self:accept("(") and (self:expect(")") or "()") or "" end
-- What `each` answers for each of a list in parentheses.
function Checker:list(each)
  local found = {}
  if self:accept("(") and not self:accept(")") then
    repeat table.insert(found, each(self)) until not self:accept(",")
    self:expect(")")
  end
  return found
end

-- Each of these answers a type: of a call that of the overload that the arguments fit, exactly if there is such.
function Checker:call(name, overloads)
  local given = self:list(self.expression)
  for _, fit in ipairs { rawequal, fits } do
    for _, overload in ipairs(overloads) do
      local taken = #given >= overload.required and #given <= #overload.types
      for i, type in ipairs(given) do taken = taken and fit(type, overload.types[i]) end
      if taken then return overload.result end
    end
  end
  self:fail("%s does not take (%s)", name, table.concat(given, ", "))
end

function Checker:primary()
  local word, key = self.words[self.at], self.words[self.at].word
  if word.literal then
    repeat self:take() until self.words[self.at].literal ~= "string"  -- a quote in a text is written twice
    return word.literal
  elseif self:accept("(") then
    local type = self:expression()
    self:expect(")")
    return type
  elseif self:accept("new") then
    local name = self:type()
    self:call(name, types[name].members.constructor or self:fail("%s is not made with New", name))
    return name
  end
  self:name()
  if self.scope[key] then return self.scope[key] end
  if types["." .. key] and self:is(".") then return "." .. key end
  if key == "array" then return self:list(self.expression)[1] .. "()" end  -- of one kind, in the documents
  return self:call(word.text, self.routines[key] or self:fail("there is no '%s'", word.text))
end

function Checker:path()
  local type = self:primary()
  while self:is(".") or self:is("(") do
    local of = types[type] or self:fail("%s has no members", type)
    if self:accept(".") then
      local name = self:name()
      local overloads = of.members[name:lower()] or self:fail("%s has no member '%s'", of.name, name)
      if overloads[1].name ~= name then self:fail("%s is spelled '%s'", name, overloads[1].name) end
      type = self:call(of.name .. "." .. name, overloads)
    else
      type = self:call(of.name, { of.element and { types = { "integer" }, required = 1, result = of.element } })
    end
  end
  return type
end

local function set(words)
  local found = {}
  for word in words:gmatch("%S+") do found[word] = true end
  return found
end
local asking, counting = set("and or = <> < > <= >= is"), set("+ - * / \\ mod")

-- From left to right, whatever binds more strongly: one operator that asks makes a Boolean of it. Whether operands go
-- together is not checked.
function Checker:expression()
  local whole, operator
  repeat
    while self:accept("not") or self:accept("-") do end
    local operand = self:path()
    whole = (asking[operator] or whole == "boolean") and "boolean" or operator == "/" and "double" or operand
    operator = self.words[self.at].word
  until not ((asking[operator] or counting[operator]) and self:take())
  return whole
end

function Checker:want(wanted)
  local given = self:expression()
  if not fits(given, wanted) then self:fail("%s is wanted, not %s", wanted, given) end
end

-- "name As Type", "name() As Type" or "name As New Type(...)".
function Checker:declaration()
  local key, array = self:name():lower(), self:brackets()
  self:expect("as")
  self.scope[key] = self:is("new") and self:primary() or self:type() .. array
  return self.scope[key]
end

local declaring, skipped = set("var dim for each catch"), set("then else wend do loop next try call")
local evaluating = set("if elseif while until to downto step return")

-- One line, from keyword to keyword. Which lines make a block together is not checked.
function Checker:line()
  local type  -- of what stands ahead
  while not self:accept("\n") do
    local word = self:take().word
    if skipped[word] then -- nothing
    elseif declaring[word] then type = not self:is("each") and self:declaration()
    elseif evaluating[word] then type = not self:is("\n") and self:expression()
    elseif word == "=" then self:want(type)
    elseif word == "in" then self:want(type .. "()")
    elseif word == "function" or word == "sub" then  -- it sees its own names, and is known to all
      local name = self:name():lower()
      self.scope = {}
      local parameters = self:list(self.declaration)
      local result = self:accept("as") and self:type() .. self:brackets() or "nothing"
      self.routines[name] = { { types = parameters, required = #parameters, result = result } }
    elseif word == "end" or word == "exit" or word == "continue" then
      local what = not self:is("\n") and self:take().word
      if what == "function" or what == "sub" then self.scope = self.outermost end
    else
      self.at = self.at - 1
      type = self:path()
    end
  end
end

function Checker:run(text)
  self.words, self.at, self.scope = wordsOf(text .. "\n"), 1, self.outermost
  while self.at <= #self.words do self:line() end
end

return Checker
