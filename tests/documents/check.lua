-- Checks the examples of documents: vornik-host check.lua TOOLS DOCUMENT...
-- TOOLS is the folder of examples.lua, which says what a line answers.
--
-- Examples in the host's language must be right by what is declared. Those in Lua are run: what one prints must be in
-- the block behind it, if that is ```text, and what one of its lines answers must be behind that line's arrow. What a
-- block declares is known to the others of its section. The transcripts of prompts are typed in again. Every class must
-- be in the tables of classes, and every name of one must be a class.
--
-- Names each fault by file and line, and ends with 1 if there is any.

local here = arg[0]:match("^(.*/)") or ""
local parse = dofile(here .. "host_language.lua")
local Types = dofile(here .. "host_types.lua")
local Checker = dofile(here .. "host_checker.lua")
local blocksOf = dofile(here .. "markdown.lua")
local answer = dofile(table.remove(arg, 1) .. "/examples.lua")

local types = Types.new(Classes())
local faults, counts = 0, { xojo = 0, lua = 0, console = 0 }

local function report(path, line, message)
  io.stderr:write(("%s:%d: %s\n"):format(path, line, message))
  faults = faults + 1
end

local function checkHostLanguage(block, checker)
  local done, fault = pcall(function() checker:run(parse(block.text)) end)
  if done then return end
  if type(fault) ~= "table" then error(fault, 0) end
  return block.line + fault.line - 1, fault.message
end

-- Lines with arrows, each one typed at the prompt.
local function runLines(block, environment)
  local number = block.line - 1
  for line in (block.text .. "\n"):gmatch("([^\n]*)\n") do
    number = number + 1
    local code, wanted = line:match("^(.-)%s*%-%-> (.*)$")
    local done, result = pcall(answer, code or line, environment)
    if not done or (code and result ~= wanted) then return number, ("answers %s"):format(result) end
  end
end

local function runWhole(block, environment, wanted)
  local printed = {}
  environment.print = function(...)
    local texts = table.pack(...)
    for i = 1, texts.n do texts[i] = tostring(texts[i]) end
    printed[#printed + 1] = table.concat(texts, "\t")
  end
  local chunk, reason = load(("\n"):rep(block.line - 1) .. block.text, "=example", "t", environment)
  local done
  if chunk then done, reason = pcall(chunk) end
  if not done then return block.line, tostring(reason) end
  local output = table.concat(printed, "\n")
  -- The document has blanks where the console has tabs.
  if output:gsub("%s+", " ") ~= wanted:gsub("%s+", " ") then return block.line, "prints\n" .. output end
end

-- "> line" and what the prompt shows for it.
local function replay(block)
  local environment, number, typed, shown = setmetatable({}, { __index = _G }), 0, nil, {}
  environment.print = function(...)
    local texts = table.pack(...)
    for i = 1, texts.n do texts[i] = tostring(texts[i]) end
    shown[#shown + 1] = table.concat(texts, "\t")
  end
  for line in (block.text .. "\n"):gmatch("([^\n]*)\n") do
    local prompt, code = line:match("^(%d+)> (.*)$")
    if prompt then
      if shown[1] then return block.line, "also shows " .. shown[1] end
      number = number + 1
      if math.tointeger(prompt) ~= number then return block.line, "the prompt is " .. number end
      local text = ("\n"):rep(number - 1)
      local chunk = load(text .. "return " .. code, "=stdin", "t", environment)
      chunk = chunk or assert(load(text .. code, "=stdin", "t", environment))
      local results = table.pack(pcall(chunk))
      if not results[1] then
        shown[#shown + 1] = "vornik-host: " .. tostring(results[2])
      elseif results.n > 1 then
        environment.print(table.unpack(results, 2, results.n))
      end
      typed = true
    elseif typed then
      -- The tabs between values are blanks in the document.
      local expected = table.remove(shown, 1) or "nothing"
      if expected:gsub("%s+", " ") ~= line:gsub("%s+", " ") then return block.line, "shows " .. expected end
    end
  end
end

local function checkClasses(path, text)
  local number = 0
  for line in (text .. "\n"):gmatch("([^\n]*)\n") do
    number = number + 1
    for name in line:gmatch("%f[%w]%w+QZR%f[%W]") do
      if not types:find(name) then report(path, number, "there is no class " .. name) end
    end
  end
  if not (path:find("/choosing%.md$") or path:find("/reference/README%.md$")) then return end
  for _, class in ipairs(Classes()) do
    if not class.name:find("Iterator") and not text:find("\n|[^\n]*%[`" .. class.name .. "`%]%(") then
      report(path, 0, "the table of classes lacks " .. class.name)
    end
  end
end

local function checkDocument(path)
  local file = assert(io.open(path))
  local text = file:read("a")
  file:close()
  local blocks = blocksOf(text)
  checkClasses(path, text)
  local sharedChecker, sharedLua = Checker.new(types), {}
  local checker, environment, section
  for i, block in ipairs(blocks) do
    if block.section ~= section then
      section = block.section
      checker = Checker.new(types, sharedChecker)
      environment = setmetatable({}, { __index = _G })
      for _, shared in ipairs(sharedLua) do assert(load(shared.text, "=shared", "t", environment))() end
    end
    local line, message
    if block.language == "xojo" then
      line, message = checkHostLanguage(block, block.shared and sharedChecker or checker)
    elseif block.language == "lua" then
      if block.shared then sharedLua[#sharedLua + 1] = block end
      if block.text:find("--> ", 1, true) then
        line, message = runLines(block, environment)
      else
        local expected = blocks[i + 1] and blocks[i + 1].language == "text" and blocks[i + 1].text or ""
        line, message = runWhole(block, environment, expected)
      end
    elseif block.text:find("\n?1> ") then
      block.language = "console"
      line, message = replay(block)
    end
    if counts[block.language] then counts[block.language] = counts[block.language] + 1 end
    if line then report(path, line, message) end
  end
end

for _, path in ipairs(arg) do
  local done, reason = pcall(checkDocument, path)
  if not done then report(path, 0, tostring(reason)) end
end
print(("%d examples in the host's language, %d in Lua, %d at the prompt; %d faults"):format(
  counts.xojo, counts.lua, counts.console, faults))
os.exit(faults == 0)
