-- Checks examples in the host's language against what is declared: that every name, class and member exists, that
-- members get arguments in number and types that one of their declarations takes, and that a result is used as what
-- it is: not dropped without Call, not wanted of a method that has none, and assigned where its type fits.

local Checker = {}
Checker.__index = Checker

-- `types` as host_types.lua makes them. What is declared at the outermost level of one example is known in the next,
-- until forget(); a checker may begin with another's names.
function Checker.new(types, outer)
  return setmetatable({ types = types, scope = setmetatable({}, { __index = outer and outer.scope }),
                        routines = setmetatable({}, { __index = outer and outer.routines }) }, Checker)
end

local function fail(node, message, ...) error({ line = node.line, message = message:format(...) }, 0) end

function Checker:declare(node, name, type)
  if not self.types:find(type) then fail(node, "there is no type '%s'", type) end
  local key = name:lower()
  if rawget(self.scope, key) then fail(node, "'%s' is declared twice", name) end
  self.scope[key] = type:lower()
end

function Checker:within(action)
  local outer = self.scope
  self.scope = setmetatable({}, { __index = outer })
  action()
  self.scope = outer
end

function Checker:want(node, wanted, what)
  local given = self:value(node)
  if not self.types:fits(given, wanted) then fail(node, "%s is %s, and %s is wanted", what, given, wanted) end
end

-- The overload that the arguments fit.
function Checker:choose(node, name, overloads, arguments)
  local given = {}
  for i, argument in ipairs(arguments) do given[i] = self:value(argument) end
  local found = {}
  for _, overload in ipairs(overloads) do
    local fits, exact = #given >= overload.required and #given <= #overload.types, true
    for i = 1, #given do
      fits = fits and self.types:fits(given[i], overload.types[i])
      exact = exact and given[i] == overload.types[i]
    end
    if fits and exact then return overload end
    if fits then found[#found + 1] = overload end
  end
  if #found == 1 then return found[1] end
  fail(node, "%s %s (%s)", name, #found == 0 and "does not take" or "has more than one overload for",
       table.concat(given, ", "))
end

-- ---- Expressions: each answers the type of its value; nil for a method without a result ----

local expressions = {}

function expressions.number(_, node) return node.text:find("%.") and "double" or "integer" end
function expressions.text() return "string" end
function expressions.boolean() return "boolean" end
expressions["nil"] = function() return "nil" end
function expressions.group(self, node) return self:value(node.inner) end

function expressions.new(self, node)
  local type = self.types:find(node.class)
  if not type then fail(node, "there is no class '%s'", node.class) end
  if not type.create then fail(node, "%s is not made with New", node.class) end
  self:choose(node, node.class, type.create, node.arguments)
  return node.class:lower()
end

function expressions.name(self, node)
  local key = node.name:lower()
  local variable = self.scope[key]
  if variable and node.arguments then
    return expressions.index(self, { line = node.line, of = { kind = "name", name = node.name, line = node.line },
                                     arguments = node.arguments })
  end
  if variable then return variable end
  if key == "array" and node.arguments then
    local element
    for _, argument in ipairs(node.arguments) do
      local type = self:value(argument)
      element = (element == nil or element == type) and type or "variant"
    end
    return (element or "variant") .. "()"
  end
  local routine = self.routines[key] or self.types.functions[key]
  if not routine then fail(node, "there is no '%s'", node.name) end
  return self:choose(node, node.name, routine, node.arguments or {}).result
end

function expressions.index(self, node)
  local type = self.types:find(self:value(node.of))
  if not type.element then fail(node, "only an array is indexed") end
  if #node.arguments ~= 1 then fail(node, "an array takes one index") end
  self:want(node.arguments[1], "integer", "the index")
  return type.element
end

-- The declarations behind a member, and its name for messages.
function Checker:member(node)
  local name = node.of.kind == "name" and not node.of.arguments and node.of.name:lower()
  local type, shown
  if name and not self.scope[name] and self.types.modules[name] then
    type, shown = self.types.modules[name], node.of.name
  else
    shown = self:value(node.of)
    type = self.types:find(shown)
    if not type then fail(node, "%s has no members", shown) end
  end
  local overloads = type.members[node.name:lower()]
  if not overloads then fail(node, "%s has no member '%s'", type.name or shown, node.name) end
  local spelling = overloads[1].name or node.name
  if spelling ~= node.name then fail(node, "%s is spelled '%s'", node.name, spelling) end
  return overloads, (type.name or shown) .. "." .. node.name
end

function expressions.member(self, node)
  local overloads, name = self:member(node)
  return self:choose(node, name, overloads, node.arguments or {}).result
end

function expressions.unary(self, node)
  if node.operator == "not" then
    self:want(node.of, "boolean", "what Not stands before")
    return "boolean"
  end
  self:want(node.of, "double", "what the minus stands before")
  return self:value(node.of)
end

local function isNumber(type) return type == "integer" or type == "double" or type == "variant" end

function expressions.binary(self, node)
  local operator = node.operator
  if operator == "isa" then
    self:value(node.left)
    if not self.types:find(node.right.name) then fail(node, "there is no class '%s'", node.right.name) end
    return "boolean"
  end
  local left, right = self:value(node.left), self:value(node.right)
  if operator == "and" or operator == "or" then
    if left == "boolean" and right == "boolean" then return "boolean" end
  elseif operator == "is" or ("= <> < > <= >="):find(operator, 1, true) then
    if self.types:fits(left, right) or self.types:fits(right, left) then return "boolean" end
  elseif operator == "+" and left == "string" and right == "string" then
    return "string"
  elseif isNumber(left) and isNumber(right) then
    if operator == "/" then return "double" end
    if operator == "mod" or operator == "\\" then return "integer" end
    return (left == "double" or right == "double") and "double" or "integer"
  end
  fail(node, "%s and %s do not go together with '%s'", left, right, operator)
end

-- The type of an expression that must have a value.
function Checker:value(node)
  local type = expressions[node.kind](self, node)
  if not type then fail(node, "%s returns no value", node.name or "this") end
  return type
end

-- ---- Statements ----

local statements = {}

function statements.declare(self, node)
  local type = node.class or node.type
  if node.value and not node.class then
    if not self.types:find(type) then fail(node, "there is no type '%s'", type) end
    self:want(node.value, type:lower(), "the value")
  elseif node.value then
    self:value(node.value)
  end
  self:declare(node, node.name, type)
end

statements["if"] = function(self, node)
  for _, condition in ipairs(node.conditions) do self:want(condition, "boolean", "the condition") end
  for _, block in ipairs(node.blocks) do self:within(function() self:run(block) end) end
end

function statements.loop(self, node)
  for _, condition in ipairs(node.conditions) do self:want(condition, "boolean", "the condition") end
  self:within(function() self:run(node.body) end)
end

statements["for"] = function(self, node)
  self:within(function()
    if node.each then
      local over = self.types:find(self:value(node.over))
      if not over.element then fail(node, "For Each goes over an array") end
      if not self.types:fits(over.element, node.type:lower()) then
        fail(node, "the elements are %s, not %s", over.element, node.type)
      end
    else
      for _, bound in ipairs(node.bounds) do self:want(bound, "integer", "the bound") end
    end
    self:declare(node, node.name, node.type)
    self:run(node.body)
  end)
end

statements["try"] = function(self, node)
  self:within(function() self:run(node.body) end)
  for _, catch in ipairs(node.catches) do
    self:within(function()
      self:declare(catch, catch.name, catch.type)
      self:run(catch.body)
    end)
  end
end

statements["return"] = function(self, node)
  if not node.value then return end
  if not self.result then fail(node, "Return with a value is in no Function") end
  self:want(node.value, self.result, "what is returned")
end

function statements.jump() end

function statements.routine(self, node)
  local overload = { types = {}, required = #node.parameters, result = node.type and node.type:lower() }
  for i, parameter in ipairs(node.parameters) do overload.types[i] = parameter.type:lower() end
  self.routines[node.name:lower()] = { overload }
  local outer = self.scope
  self.scope = {}  -- a routine sees its own names
  for _, parameter in ipairs(node.parameters) do self:declare(node, parameter.name, parameter.type) end
  self.result = overload.result
  self:run(node.body)
  self.result, self.scope = nil, outer
end

function statements.call(self, node)
  local path = node.path
  if path.kind ~= "member" and not (path.kind == "name" and path.arguments) then fail(node, "this does nothing") end
  local result = expressions[path.kind](self, path)
  if result and not node.discards then fail(node, "the result of %s is dropped; write Call", path.name) end
end

function statements.assign(self, node)
  local target = node.target
  if target.kind == "name" and not target.arguments then
    local type = self.scope[target.name:lower()]
    if not type then fail(node, "there is no variable '%s'", target.name) end
    self:want(node.value, type, "the value")
    return
  elseif target.kind == "member" then
    local overloads, name = self:member(target)
    local overload = self:choose(target, name, overloads, target.arguments or {})
    if not overload.assignable then fail(node, "%s cannot be assigned", name) end
    self:want(node.value, overload.result, "the value")
    return
  end
  self:want(node.value, self:value(target), "the value")  -- an element of an array
end

function Checker:run(block)
  for _, node in ipairs(block) do statements[node.kind](self, node) end
end

return Checker
