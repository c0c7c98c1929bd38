-- Checks examples in the host's language against what is declared: that every variable, class and member exists, that
-- calls have arguments in number and kind that a declaration takes, and that a result fits where it is used. It reads
-- an example once, word by word, and keeps no more of it than the types of its variables. A fault is raised as a table
-- {line, message}.

local Checker = {}
Checker.__index = Checker

-- `types` as host_types.lua makes them. What is declared at the outermost level of one example is known in the next; a
-- checker may begin with another's names.
function Checker.new(types, outer)
  local functions = types:find(".").members
  return setmetatable({ types = types, result = "nothing",
                        outermost = setmetatable({}, { __index = outer and outer.outermost }),
                        routines = setmetatable({}, { __index = outer and outer.routines or functions }) }, Checker)
end

function Checker:fail(message, ...)
  error({ line = self.words[self.at].line, message = message:format(...) }, 0)
end

-- ---- Words ----

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
  if self.words[self.at].kind ~= "name" then self:fail("a name is wanted, not '%s'", self.words[self.at].text) end
  return self:take().text
end

function Checker:type()
  local name = self:name()
  if not self.types:find(name) then self:fail("there is no type '%s'", name) end
  return name:lower()
end
-- "()" behind the name of an array or of its type.
function Checker:brackets() return self:accept("(") and (self:expect(")") or "()") or "" end

-- ---- Values: each function answers the type ----

function Checker:want(wanted, what)
  local given = self:expression()
  if not self.types:fits(given, wanted) then self:fail("%s is %s, and %s is wanted", what, given, wanted) end
end

function Checker:arguments()
  local given = {}
  if self:accept("(") and not self:accept(")") then
    repeat table.insert(given, self:expression()) until not self:accept(",")
    self:expect(")")
  end
  return given
end

-- The result of the overload that the arguments fit, exactly if there is such, and the overload.
function Checker:call(name, overloads)
  local given, found = self:arguments(), nil
  for _, overload in ipairs(overloads) do
    local fits, exact = #given >= overload.required and #given <= #overload.types, true
    for i, type in ipairs(given) do
      fits = fits and self.types:fits(type, overload.types[i])
      exact = exact and type == overload.types[i]
    end
    if fits and (exact or not found) then found = overload end
  end
  if not found then self:fail("%s does not take (%s)", name, table.concat(given, ", ")) end
  return found.result, found
end

-- A value without operators ahead of what stands behind its dots and in its parentheses.
function Checker:primary()
  local word, key = self.words[self.at], self.words[self.at].word
  if word.literal then
    repeat self:take() until self.words[self.at].kind ~= "string"  -- a quote in a text is written twice
    return word.kind
  elseif self:accept("(") then
    local type = self:expression()
    self:expect(")")
    return type
  elseif self:accept("new") then
    local name = self:type()
    self:call(name, self.types:find(name).members.constructor or self:fail("%s is not made with New", name))
    return name
  end
  self:name()
  if self.scope[key] then return self.scope[key] end
  if self.types:find("." .. key) and self:is(".") then return "." .. key end
  if key == "array" then return (self:arguments()[1] or "variant") .. "()" end  -- of one kind, in the documents
  return self:call(word.text, self.routines[key] or self:fail("there is no '%s'", word.text))
end

function Checker:path()
  local type, overload = self:primary()
  while self:is(".") or self:is("(") do
    local of = self.types:find(type) or self:fail("%s has no members", type)
    if self:accept(".") then
      local name = self:name()
      local overloads = of.members[name:lower()] or self:fail("%s has no member '%s'", of.name, name)
      if overloads[1].name ~= name then self:fail("%s is spelled '%s'", name, overloads[1].name) end
      type, overload = self:call(of.name .. "." .. name, overloads)
    else
      self:take()
      self:want(of.element and "integer" or "nothing", "the index of " .. of.name)
      self:expect(")")
      type, overload = of.element, nil
    end
  end
  return type, overload
end

local levels = { ["or"] = 1, ["and"] = 2, ["="] = 3, ["<>"] = 3, ["<"] = 3, [">"] = 3, ["<="] = 3, [">="] = 3, is = 3,
                 ["+"] = 4, ["-"] = 4, ["*"] = 5, ["/"] = 5, ["\\"] = 5, mod = 5 }

function Checker:combined(operator, left, right)
  local numbers = { integer = true, double = true, variant = true }
  if levels[operator] < 3 then
    if left == "boolean" and right == "boolean" then return "boolean" end
  elseif levels[operator] == 3 then
    if self.types:fits(left, right) or self.types:fits(right, left) then return "boolean" end
  elseif operator == "+" and left == "string" and right == "string" then
    return "string"
  elseif numbers[left] and numbers[right] then
    return (operator == "/" or left == "double" or right == "double") and "double" or "integer"
  end
  self:fail("%s and %s do not go together with '%s'", left, right, operator)
end

-- An expression with operators of that level and those that bind more strongly.
function Checker:expression(level)
  local left
  if self:accept("not") then left = self:combined("and", "boolean", self:expression(3))
  elseif self:accept("-") then left = self:combined("-", "integer", self:expression(6))
  else left = self:path() end
  while (levels[self.words[self.at].word] or 0) >= (level or 1) do
    local operator = self:take().word
    left = self:combined(operator, left, self:expression(levels[operator] + 1))
  end
  return left
end

-- ---- Statements ----

-- "name As Type", "name() As Type" or "name As New Type(...)": answers the type.
function Checker:declaration()
  local key, array = self:name():lower(), self:brackets()
  self:expect("as")
  self.scope[key] = self:is("new") and self:primary() or self:type() .. array
  return self.scope[key]
end

-- A routine sees its own names, and is known to all.
function Checker:routine()
  local name, types = self:name(), {}
  self.scope = {}
  self:expect("(")
  if not self:accept(")") then
    repeat table.insert(types, self:declaration()) until not self:accept(",")
    self:expect(")")
  end
  self.result = self:accept("as") and self:type() .. self:brackets() or "nothing"
  self.routines[name:lower()] = { { types = types, required = #types, result = self.result } }
end

-- "path = value" up to the "=", or a call; answers the type of what is assigned.
function Checker:assignmentOrCall(discards)
  local type, overload = self:path()
  if self:is("=") and overload and not overload.assignable then
    self:fail("%s cannot be assigned", overload.name)
  elseif not self:is("=") and type ~= "nothing" and not discards then
    self:fail("the result of %s is dropped; write Call", overload and overload.name or "this")
  end
  return type
end

local function set(words)
  local found = {}
  for word in words:gmatch("%a+") do found[word] = true end
  return found
end
local declaring, skipped = set("var dim for each catch"), set("then else wend do loop next try")
local conditional, bounding = set("if elseif while until"), set("to downto step")

-- One line, from keyword to keyword. Which lines make a block together is not checked.
function Checker:line()
  local type  -- of what stands ahead
  while not self:accept("\n") do
    local word = self:take().word
    if skipped[word] then -- nothing
    elseif declaring[word] then type = not self:is("each") and self:declaration()
    elseif word == "function" or word == "sub" then self:routine()
    elseif word == "=" then self:want(type, "the value")
    elseif word == "in" then self:want(type .. "()", "what For Each goes over")
    elseif conditional[word] then self:want("boolean", "the condition")
    elseif bounding[word] then self:want("integer", "the bound")
    elseif word == "return" then
      if not self:is("\n") then self:want(self.result, "what is returned") end
    elseif word == "end" or word == "exit" or word == "continue" then
      local what = not self:is("\n") and self:take().word
      if what == "function" or what == "sub" then self.scope = self.outermost end
    else
      self.at = self.at - (word == "call" and 0 or 1)
      type = self:assignmentOrCall(word == "call")
    end
  end
end

-- The words as host_language.lua answers them.
function Checker:run(words)
  self.words, self.at, self.scope = words, 1, self.outermost
  while self.at <= #words do self:line() end
end

return Checker
