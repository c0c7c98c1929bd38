-- Checks the examples of documents: vornik-host check.lua TOOLS DOCUMENT...
-- TOOLS is the folder of examples.lua, which says what a line answers.
--
-- Examples in the host's language must be right by what is declared. Those in Lua are run: what one prints must be in
-- the block behind it, if that is ```text, and what one of its lines answers must be behind that line's arrow. What a
-- block declares is known to the others of its section, and with <!-- shared --> ahead of it in the whole document.
-- Every class must be in the tables of classes, and every name of one must be a class.
--
-- Names each fault by file and line, and ends with 1 if there is any.

local Checker = dofile(arg[0]:match("^(.*/)") .. "host_checker.lua")
local answer = dofile(table.remove(arg, 1) .. "/examples.lua")
local classes, examples, faults = {}, 0, 0
for _, class in ipairs(Classes()) do classes[class.name] = true end

local function report(path, line, message)
  io.stderr:write(("%s:%d: %s\n"):format(path, line, message))
  faults = faults + 1
end
local function lines(text) return (text .. "\n"):gmatch("([^\n]*)\n") end

-- The fenced blocks of a document.
local function blocksOf(text)
  text = "\n" .. text
  local found, section, at, number = {}, 0, 1, 0
  local function newlines(first, last) return select(2, text:sub(first, last):gsub("\n", "")) end
  for from, language, start, stop in text:gmatch("()\n```([^\n]*)()\n.-()\n```") do
    local ahead = text:sub(at, from)
    section = section + (ahead:find("\n#") and 1 or 0)
    number = number + newlines(at, start)
    table.insert(found, { language = language, text = text:sub(start + 1, stop - 1), line = number, section = section,
                          shared = ahead:find("<!%-%- shared %-%->\n$") })
    number, at = number + newlines(start + 1, stop), stop + 1
  end
  assert(not text:find("\n```", at + 1, true), "a fenced block has no end")
  return found
end

-- Each of these answers the line of the first fault in a block and what is wrong, or nothing.
local function checkHostLanguage(block, checker)
  local done, fault = pcall(checker.run, checker, block.text)
  if done then return end
  return block.line + (fault.line or error(fault, 0)) - 1, fault.message
end

-- Lines with arrows, each one typed at the prompt.
local function runLines(block, environment)
  local number = block.line - 1
  for line in lines(block.text) do
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

local function checkClasses(path, text)
  local number = 0
  for line in lines(text) do
    number = number + 1
    for name in line:gmatch("%f[%w]%w+QZR%f[%W]") do
      if not classes[name] then report(path, number, "there is no class " .. name) end
    end
  end
  if not (path:find("/choosing%.md$") or path:find("/reference/README%.md$")) then return end
  for name in pairs(classes) do
    if not name:find("Iterator") and not text:find("\n|[^\n]*%[`" .. name .. "`%]%(") then
      report(path, 0, "the table of classes lacks " .. name)
    end
  end
end

local function checkDocument(path)
  local file <close> = assert(io.open(path))
  local text = file:read("a")
  checkClasses(path, text)
  local sharedChecker, sharedLua, blocks = Checker.new(), "", blocksOf(text)
  local checker, environment, section
  for i, block in ipairs(blocks) do
    if block.section ~= section then
      section = block.section
      checker, environment = Checker.new(sharedChecker), setmetatable({}, { __index = _G })
      load(sharedLua, "=shared", "t", environment)()
    end
    local line, message
    if block.language == "xojo" then
      line, message = checkHostLanguage(block, block.shared and sharedChecker or checker)
    elseif block.language == "lua" and block.text:find("--> ", 1, true) then
      line, message = runLines(block, environment)
    elseif block.language == "lua" then
      if block.shared then sharedLua = block.text end
      local behind = blocks[i + 1] or {}
      line, message = runWhole(block, environment, behind.language == "text" and behind.text or "")
    end
    examples = examples + ((block.language == "xojo" or block.language == "lua") and 1 or 0)
    if line then report(path, line, message) end
  end
end

for _, path in ipairs(arg) do
  local done, reason = pcall(checkDocument, path)
  if not done then report(path, 0, tostring(reason)) end
end
print(("%d examples, %d faults"):format(examples, faults))
os.exit(faults == 0 and examples > 0)
