-- Reads examples in the host's language: as much of it as the documents use.
--
-- parse(text) answers a list of statements, or raises a table {line, message}. A statement is a table with `kind` and
-- `line`; so is an expression. Names keep their spelling; who looks them up ignores letter case.

local keywords = {}
for word in ([[Var Dim As New If Then Else ElseIf End While Wend For Each In To DownTo Step Next Do Loop Until Exit Continue
  Return Call Try Catch Function Sub True False Nil And Or Not Mod IsA Is]]):gmatch("%S+") do
  keywords[word:lower()] = true
end

local function fail(line, message) error({ line = line, message = message }, 0) end

-- ---- Tokens: {kind = "name" | "keyword" | "number" | "text" | "operator" | "end of line", text, line} ----

local function tokensOf(text)
  local tokens, line, at = {}, 1, 1
  local function add(kind, value) tokens[#tokens + 1] = { kind = kind, text = value, line = line } end
  local function take(pattern)
    local from, to, found = text:find("^" .. pattern, at)
    if from then at = to + 1 end
    return found
  end
  while at <= #text do
    if take("([ \t]+)") or take("('[^\n]*)") or take("(//[^\n]*)") then -- nothing
    elseif take("(_[ \t]*\n)") then line = line + 1
    elseif take("(\n)") then
      add("end of line", "")
      line = line + 1
    else
      local quoted = take('("[^"\n]*")')
      while quoted and text:sub(at, at) == '"' do  -- a quote in a text is written twice
        quoted = quoted .. (take('("[^"\n]*")') or fail(line, "text without an end"))
      end
      local word = not quoted and take("([%a_][%w_]*)")
      local number = not quoted and not word and (take("(%d+%.%d+)") or take("(%d+)") or take("(&[uhb]%x+)"))
      if quoted then add("text", quoted)
      elseif word then add(keywords[word:lower()] and "keyword" or "name", word)
      elseif number then add("number", number)
      else
        local operator = take("(<>)") or take("(<=)") or take("(>=)") or take("([-+*/\\=<>(),.:])")
        add("operator", operator or fail(line, "nothing begins with '" .. text:sub(at, at) .. "'"))
      end
    end
  end
  add("end of line", "")
  add("end", "the end of the example")
  return tokens
end

-- ---- Statements ----

local Parser = {}
Parser.__index = Parser

function Parser:look(ahead) return self.tokens[self.at + (ahead or 0)] end
function Parser:is(word, ahead)
  local token = self:look(ahead)
  return token.kind ~= "text" and token.text:lower() == word:lower() and token.text ~= ""
end
function Parser:accept(word)
  if not self:is(word) then return false end
  self.at = self.at + 1
  return true
end
function Parser:fail(message)
  local token = self:look()
  fail(token.line, message .. ", not " .. (token.text == "" and "the end of the line" or "'" .. token.text .. "'"))
end
function Parser:expect(word)
  if not self:accept(word) then self:fail("'" .. word .. "' is wanted") end
end
function Parser:name(what)
  local token = self:look()
  -- Behind a dot a keyword is a name like any other.
  if token.kind ~= "name" and not (what == "a member" and token.kind == "keyword") then self:fail(what .. " is wanted") end
  self.at = self.at + 1
  return token.text
end
function Parser:endLine()
  if self:look().kind ~= "end of line" then self:fail("the end of the line is wanted") end
  self.at = self.at + 1
end

-- The name of a type, with "()" behind it for an array.
function Parser:type()
  local name = self:name("a type")
  if self:is("(") and self:is(")", 1) then
    self.at = self.at + 2
    name = name .. "()"
  end
  return name
end

function Parser:arguments()
  local list = {}
  self:expect("(")
  if self:accept(")") then return list end
  repeat list[#list + 1] = self:expression() until not self:accept(",")
  self:expect(")")
  return list
end

-- Something of a name, followed by members, arguments and indexes: a.b(1).c
function Parser:path(base)
  while true do
    local line = self:look().line
    if self:accept(".") then
      base = { kind = "member", line = line, of = base, name = self:name("a member") }
    elseif self:is("(") and not base.arguments then
      base.arguments = self:arguments()
    elseif self:is("(") then
      base = { kind = "index", line = line, of = base, arguments = self:arguments() }
    else
      return base
    end
  end
end

function Parser:primary()
  local token = self:look()
  local node = { line = token.line, text = token.text }
  local word = token.text:lower()
  if token.kind == "number" or token.kind == "text" then
    self.at = self.at + 1
    node.kind = token.kind
    return self:path(node)
  elseif token.kind == "operator" and self:accept("(") then
    node = self:expression()
    self:expect(")")
    return self:path({ kind = "group", line = token.line, inner = node, arguments = {} })
  elseif word == "true" or word == "false" or word == "nil" then
    self.at = self.at + 1
    node.kind = word == "nil" and "nil" or "boolean"
    return node
  elseif self:accept("New") then
    node.kind, node.class = "new", self:name("a class")
    node.arguments = self:is("(") and self:arguments() or {}
    return self:path(node)
  elseif token.kind == "name" then
    self.at = self.at + 1
    node.kind, node.name = "name", token.text
    return self:path(node)
  end
  self:fail("a value is wanted")
end

-- From the weakest binding to the strongest.
local levels = { { "or" }, { "and" }, { "not" }, { "=", "<>", "<", ">", "<=", ">=", "isa", "is" }, { "+", "-" },
                 { "*", "/", "\\", "mod" } }

function Parser:expression(level)
  level = level or 1
  local operators = levels[level]
  local line = self:look().line
  if not operators then
    if self:accept("-") then return { kind = "unary", operator = "-", line = line, of = self:primary() } end
    return self:primary()
  end
  if operators[1] == "not" then
    if self:accept("Not") then return { kind = "unary", operator = "not", line = line, of = self:expression(level) } end
    return self:expression(level + 1)
  end
  local left = self:expression(level + 1)
  while true do
    local found
    for _, operator in ipairs(operators) do found = found or (self:accept(operator) and operator) end
    if not found then return left end
    local right = found == "isa" and { kind = "type", line = line, name = self:type() } or self:expression(level + 1)
    left = { kind = "binary", operator = found, line = line, left = left, right = right }
  end
end

function Parser:declaration(node)
  node.kind, node.name = "declare", self:name("a variable")
  if self:is("(") then
    self:expect("(")
    self:expect(")")
    node.array = true
  end
  self:expect("As")
  if self:accept("New") then
    node.class = self:name("a class")
    node.value = { kind = "new", line = node.line, class = node.class,
                   arguments = self:is("(") and self:arguments() or {} }
  else
    node.type = self:type() .. (node.array and "()" or "")
    if self:accept("=") then node.value = self:expression() end
  end
end

function Parser:routine(node)
  node.kind, node.isFunction = "routine", self:accept("Function")
  if not node.isFunction then self:expect("Sub") end
  node.name, node.parameters = self:name("a name"), {}
  self:expect("(")
  if not self:accept(")") then
    repeat
      local name = self:name("a parameter")
      local array = self:is("(")
      if array then self:arguments() end
      self:expect("As")
      table.insert(node.parameters, { name = name, type = self:type() .. (array and "()" or "") })
    until not self:accept(",")
    self:expect(")")
  end
  if node.isFunction then
    self:expect("As")
    node.type = self:type()
  end
  self:endLine()
  node.body = self:block({ "End" })
  self:expect("End")
  self:expect(node.isFunction and "Function" or "Sub")
end

function Parser:condition(node)
  table.insert(node.conditions, self:expression())
  self:expect("Then")
end

function Parser:statement()
  local node = { line = self:look().line }
  if self:accept("Var") or self:accept("Dim") then
    self:declaration(node)
  elseif self:is("Function") or self:is("Sub") then
    self:routine(node)
  elseif self:accept("If") then
    node.kind, node.conditions, node.blocks = "if", {}, {}
    self:condition(node)
    if self:look().kind ~= "end of line" then  -- all on one line
      node.blocks[1] = { self:statement() }
      return node
    end
    self:endLine()
    node.blocks[1] = self:block({ "ElseIf", "Else", "End" })
    while self:accept("ElseIf") do
      self:condition(node)
      self:endLine()
      table.insert(node.blocks, self:block({ "ElseIf", "Else", "End" }))
    end
    if self:accept("Else") then
      self:endLine()
      table.insert(node.blocks, self:block({ "End" }))
    end
    self:expect("End")
    self:expect("If")
  elseif self:accept("While") then
    node.kind, node.conditions = "loop", { self:expression() }
    self:endLine()
    node.body = self:block({ "Wend" })
    self:expect("Wend")
  elseif self:accept("Do") then
    node.kind, node.conditions = "loop", { self:accept("Until") and self:expression() or nil }
    self:endLine()
    node.body = self:block({ "Loop" })
    self:expect("Loop")
    if self:accept("Until") then table.insert(node.conditions, self:expression()) end
  elseif self:accept("For") then
    node.each = self:accept("Each")
    node.kind, node.name = "for", self:name("a variable")
    self:expect("As")
    node.type = self:type()
    if node.each then
      self:expect("In")
      node.over = self:expression()
    else
      self:expect("=")
      node.bounds = { self:expression() }
      if not self:accept("DownTo") then self:expect("To") end
      node.bounds[2] = self:expression()
      if self:accept("Step") then node.bounds[3] = self:expression() end
    end
    self:endLine()
    node.body = self:block({ "Next" })
    self:expect("Next")
  elseif self:accept("Try") then
    node.kind, node.catches = "try", {}
    self:endLine()
    node.body = self:block({ "Catch", "End" })
    while self:accept("Catch") do
      local catch = { name = self:name("a variable"), line = node.line }
      self:expect("As")
      catch.type = self:type()
      self:endLine()
      catch.body = self:block({ "Catch", "End" })
      table.insert(node.catches, catch)
    end
    self:expect("End")
    self:expect("Try")
  elseif self:accept("Return") then
    node.kind = "return"
    if self:look().kind ~= "end of line" then node.value = self:expression() end
  elseif self:accept("Exit") or self:accept("Continue") then
    node.kind = "jump"
    if not self:accept("For") then self:accept("While") end
  elseif self:accept("Call") then
    node.kind, node.path = "call", self:primary()
    node.discards = true
  else
    local path = self:primary()
    if self:accept("=") then
      node.kind, node.target, node.value = "assign", path, self:expression()
    else
      node.kind, node.path = "call", path
      -- A method that is called as a statement may do without parentheses.
      if self:look().kind ~= "end of line" and path.kind == "member" and not path.arguments then
        path.arguments = {}
        repeat table.insert(path.arguments, self:expression()) until not self:accept(",")
      end
    end
  end
  return node
end

function Parser:block(terminators)
  local statements = {}
  while true do
    while self:look().kind == "end of line" do self.at = self.at + 1 end
    for _, word in ipairs(terminators) do
      if self:is(word) then return statements end
    end
    if self:look().kind == "end" then
      if #terminators == 0 then return statements end
      self:fail("'" .. table.concat(terminators, "' or '") .. "' is wanted")
    end
    statements[#statements + 1] = self:statement()
    if self:look().kind ~= "end" then self:endLine() end
  end
end

return function(text)
  local parser = setmetatable({ tokens = tokensOf(text), at = 1 }, Parser)
  return parser:block({})
end
