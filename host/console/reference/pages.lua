-- Writes the pages of the class reference into the directory given: vornik-host --reference DIRECTORY.
--
-- Declarations come from the registered classes, descriptions from members.lua, and what examples answer from
-- running them. Stops at a member without a description, and at a description without a member. The second argument
-- is the directory of the example scripts, which the pages quote.

local directory, examples = arg[1], arg[2]
local here = arg[0]:match("^(.*/)") or ""
local families = dofile(here .. "families.lua")
local members = dofile(here .. "members.lua")

local function stop(message)
  io.stderr:write("reference: ", message, "\n")
  os.exit(1)
end

-- "Remove(first, last)": what tells the overloads of a name apart. Iterators' members have names of their own.
local function signature(method)
  local name = method.name
  if #method.parameters == 0 then return name == "Constructor" and "Constructor()" or name end
  return name .. "(" .. table.concat(method.parameters, ", ") .. ")"
end

local function anchor(heading) return (heading:lower():gsub("[^%w_ -]", ""):gsub(" ", "-")) end

-- ---- Examples: lines as typed at the prompt, each with what it answers ----

local function show(value)
  if type(value) == "string" then return ("%q"):format(value) end
  if math.type(value) or type(value) ~= "userdata" or tostring(value):find("^Variant%.") then return tostring(value) end
  local class = ClassName(value)
  if class == "Array" or class == "Dictionary" then return tostring(value) end
  return (class:find("^[AIO]") and "an " or "a ") .. class
end

local function answer(line, environment)
  local printed = {}
  environment.print = function(...)
    local texts = table.pack(...)
    for i = 1, texts.n do texts[i] = show(texts[i]) end
    printed[#printed + 1] = table.concat(texts, " ")
  end
  local chunk = load("return " .. line, "example", "t", environment) or load(line, "example", "t", environment)
  if not chunk then stop("example cannot be read: " .. line) end
  local results = table.pack(pcall(chunk))
  if not results[1] then
    local exception = results[2]
    if type(exception) ~= "table" then stop("example fails: " .. line .. ": " .. tostring(exception)) end
    return ('raises %s "%s"'):format(exception.class, exception.message)
  end
  for i = 2, results.n do printed[#printed + 1] = show(results[i]) end
  return #printed > 0 and table.concat(printed, ", ") or nil
end

local function run(lines, environment, family)
  local shown = {}
  for _, line in ipairs(lines) do
    line = line:gsub("%$(%w+)", family.words)
    local result = answer(line, environment)
    shown[#shown + 1] = result and line .. "  --> " .. result or line
  end
  return "```lua\n" .. table.concat(shown, "\n") .. "\n```\n"
end

-- ---- Quotations: lines of an example, from the first that starts with one text to the next that does with another

local function quotation(quote)
  local lines, inside = {}, false
  for line in io.lines(examples .. "/" .. quote.file) do
    inside = inside or line:sub(1, #quote.from) == quote.from
    if inside then lines[#lines + 1] = line end
    if inside and line:sub(1, #quote.to) == quote.to then
      return ("From [`examples/%s`](../../examples/%s):\n\n```lua\n%s\n```\n"):format(
        quote.file, quote.file, table.concat(lines, "\n"))
    end
  end
  stop(("%s has no lines from '%s' to '%s'"):format(quote.file, quote.from, quote.to))
end

-- ---- Pages ----

local described = {}

local function description(scope, name, page)
  local found = members[scope][name]
  if not found then stop(name .. " in " .. page .. " has no description") end
  described[found] = true
  return found
end

local width = 112

-- A paragraph in lines of that width.
local function filled(paragraph)
  local lines, line = {}, ""
  for word in paragraph:gmatch("%S+") do
    if line ~= "" and utf8.len(line) + 1 + utf8.len(word) > width then
      lines[#lines + 1], line = line, ""
    end
    line = line == "" and word or line .. " " .. word
  end
  lines[#lines + 1] = line
  return table.concat(lines, "\n")
end

-- Text of members.lua or families.lua, which is paragraphs of one page's words, under a label if there is one.
local function prose(value, family, label)
  if type(value) == "function" then value = value(family) end
  local paragraphs = {}
  for paragraph in ((label or "") .. value .. "\n\n"):gmatch("(.-)\n\n") do
    paragraphs[#paragraphs + 1] = filled(paragraph:gsub("%$(%w+)", family.words))
  end
  return table.concat(paragraphs, "\n\n") .. "\n"
end

local function memberEntry(heading, scope, name, family)
  local member = description(scope, name, family.file)
  local out = { "### " .. heading .. "\n", prose(member.text, family) }
  if member.cost then out[#out + 1] = prose(member.cost, family, "*Cost:* ") end
  if member.raises then out[#out + 1] = prose(member.raises, family, "*Raises:* ") end
  if member.example then
    local environment = setmetatable({}, { __index = _G })
    for _, line in ipairs(family.setup) do answer(line:gsub("%$(%w+)", family.words), environment) end
    local lines = type(member.example) == "function" and member.example(family) or member.example
    out[#out + 1] = run(lines, environment, family)
  end
  return table.concat(out, "\n")
end

local function page(family, classes)
  local out = { "# " .. family.title .. "\n", prose(family.intro, family), "## In use\n", quotation(family.quote),
                "## Classes\n" }
  local entries, seen, container = { container = {}, iterator = {} }, {}, nil
  local function entry(heading, scope, name)
    if seen[heading] then return end
    seen[heading] = true
    table.insert(entries[scope], memberEntry(heading, scope, name, family))
  end
  for _, class in ipairs(classes) do
    local iterator = class.name:find("Iterator")
    local scope = iterator and "iterator" or "container"
    out[#out + 1] = "### " .. class.name .. "\n"
    if iterator then
      out[#out + 1] = ("What `first`, `last`, `find` and their like of %s answer.\n"):format(container)
    else
      container = class.name  -- its iterator's class is registered next
      local order = class.name:find("Hash") and family.hash or family.ordered
      out[#out + 1] = prose(order .. " `MaxSize` is " .. _G[class.name]().MaxSize .. ".", family)
    end
    for _, property in ipairs(class.properties) do
      out[#out + 1] = ("- [`%s as %s`](#%s)"):format(property.name, property.type, anchor(property.name))
      entry(property.name, scope, property.name)
    end
    for _, method in ipairs(class.methods) do
      local name = signature(method)
      out[#out + 1] = ("- [`%s`](#%s)%s"):format(
        method.declaration, anchor(name), method.assignable and ", assignable" or "")
      entry(name, scope, name)
    end
    out[#out + 1] = ""
  end
  out[#out + 1] = "## Members\n"
  out[#out + 1] = "Examples are lines for the console's prompt; behind the arrow is what each answers. Each starts from\n"
  out[#out + 1] = run(family.setup, setmetatable({}, { __index = _G }), family)
  out[#out + 1] = table.concat(entries.container, "\n")
  out[#out + 1] = "## Members of iterators\n"
  out[#out + 1] = table.concat(entries.iterator, "\n")
  return table.concat(out, "\n")
end

for _, family in ipairs(families) do
  local classes = {}
  for _, class in ipairs(Classes()) do
    if class.name:find(family.classes) then classes[#classes + 1] = class end
  end
  if #classes == 0 then stop("no class is one of the " .. family.title) end
  local path = directory .. "/" .. family.file
  local content = page(family, classes)
  local file, reason = io.open(path, "w")
  if not file or not file:write(content) or not file:close() then stop("cannot write " .. (reason or path)) end
end

for _, class in ipairs(Classes()) do
  local place = false
  for _, family in ipairs(families) do place = place or class.name:find(family.classes) end
  if not place then stop(class.name .. " has no page") end
end
for _, scope in pairs(members) do
  for name, member in pairs(scope) do
    if not described[member] then stop("no class has the member " .. name .. ", which is described") end
  end
end
