-- Writes the pages of the class reference into the directory given: vornik-host --reference DIRECTORY.
--
-- Declarations come from the registered classes, descriptions from members.lua, and what examples answer from
-- running them. Stops at a member without a description, and at a description without a member.

local directory = arg[1]
local here = arg[0]:match("^(.*/)") or ""
local families = dofile(here .. "families.lua")
local sections = dofile(here .. "members.lua")
local answer = dofile(here .. "../examples.lua")

local function stop(message)
  io.stderr:write("reference: ", message, "\n")
  os.exit(1)
end

-- "Remove(first, last)": what tells the overloads of a name apart.
local function signature(method)
  local name = method.name
  if #method.parameters == 0 then return name == "Constructor" and "Constructor()" or name end
  return name .. "(" .. table.concat(method.parameters, ", ") .. ")"
end

local function anchor(heading) return (heading:lower():gsub("[^%w_ -]", ""):gsub(" ", "-")) end
local function link(heading) return ("[`%s`](#%s)"):format(heading, anchor(heading)) end

-- ---- Examples ----

local function withWords(text, family) return (text:gsub("%$(%w+)", family.words)) end

-- What the console returns, in the words of the host's language.
local function inHostLanguage(result)
  return (result:gsub("Array(%b{})", function(list) return "Array(" .. list:sub(2, -2) .. ")" end)
    :gsub("Dictionary(%b{})", function(list)
      return "Dictionary: " .. list:sub(2, -2):gsub("%[(.-)%] = ", "%1 = ")
    end)
    :gsub("^true$", "True"):gsub("^false$", "False"):gsub("^nil$", "Nil"))
end

-- Lines of an example, run, as one block for each language.
local function run(lines, environment, family)
  local host, console = {}, {}
  for _, line in ipairs(lines) do
    local hostLine, consoleLine = withWords(line[1], family), line[2] and withWords(line[2], family)
    local result
    if consoleLine then
      local done, found = pcall(answer, consoleLine, environment)
      if not done then stop(found) end
      result = found
      console[#console + 1] = result and consoleLine .. "  --> " .. result or consoleLine
    end
    -- A statement that drops what it answers need not be told what that is.
    if result and not hostLine:find("^Call ") then hostLine = hostLine .. "  ' " .. inHostLanguage(result) end
    host[#host + 1] = hostLine
  end
  return ("```xojo\n%s\n```\n\n```lua\n%s\n```\n"):format(table.concat(host, "\n"), table.concat(console, "\n"))
end

local function environmentOf(family)
  local environment = setmetatable({}, { __index = _G })
  for _, line in ipairs(family.setup) do answer(withWords(line[2], family), environment) end
  return environment
end

-- ---- Pages ----

local described = {}
local index = {}  -- of all members: heading -> the page's file -> anchor

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

-- Text of members.lua or families.lua, which is paragraphs of one page's words, under a label if there is one. A
-- function is given the page's family and its classes; a table is left as it is.
local function prose(value, family, label, classes)
  if type(value) == "function" then value = value(family, classes) end
  local paragraphs = {}
  for paragraph in ((label or "") .. value .. "\n\n"):gmatch("(.-)\n\n") do
    paragraph = withWords(paragraph, family)
    paragraphs[#paragraphs + 1] = paragraph:find("^|") and paragraph or filled(paragraph)
  end
  return table.concat(paragraphs, "\n\n") .. "\n"
end

-- "Sub Clear()": a declaration as the host's language has it.
local function inHostSyntax(text, result)
  local types = { integer = "Integer", string = "String", boolean = "Boolean", variant = "Variant", dictionary = "Dictionary" }
  text = text:gsub("%f[%w]as (%w+)", function(type) return "As " .. (types[type:lower()] or type) end)
    :gsub("= true", "= True")
  local name, rest = text:match("^([%w_]+)(.*)$")
  if rest:sub(1, 1) ~= "(" then rest = "()" .. rest end
  return (result and "Function " or "Sub ") .. name .. rest
end

-- The declarations of a member, each once. Where classes differ in nothing but their own names, the one that the
-- examples are about speaks for all.
local function declarations(member, family, classes)
  local order, shown = {}, {}
  for _, class in ipairs(classes) do
    local found = class[member.iterator and "iteratorMembers" or "members"][member.name]
    for _, text in ipairs(found and found.declarations or {}) do
      local pattern = text:gsub(class.iterator, "*"):gsub(class.name, "*")
      if not shown[pattern] then order[#order + 1] = pattern end
      if not shown[pattern] or class.name == family.words.Class then shown[pattern] = text end
    end
  end
  for i, pattern in ipairs(order) do order[i] = shown[pattern] end
  return "```xojo declaration\n" .. table.concat(order, "\n") .. "\n```\n"
end

local function explanation(member, family, classes)
  local out = { "### " .. member.name .. "\n", declarations(member, family, classes),
                prose(member.text, family, nil, classes) }
  if member.cost then out[#out + 1] = prose(member.cost, family, "*Cost:* ") end
  if member.raises then out[#out + 1] = prose(member.raises, family, "*Raises:* ") end
  if member.example then
    local lines = type(member.example) == "function" and member.example(family) or member.example
    out[#out + 1] = run(lines, environmentOf(family), family)
  end
  return table.concat(out, "\n")
end

local function isIterator(class) return class.name:find("Iterator") ~= nil end

-- The members of a class by what tells them apart: {result, assignable, declarations}.
local function membersOf(class)
  local found = {}
  for _, property in ipairs(class.properties) do
    found[property.name] = { result = property.type,
                             declarations = { "Property " .. property.name .. " As " .. property.type .. "  ' read-only" } }
  end
  for _, method in ipairs(class.methods) do
    local name = signature(method)
    found[name] = found[name] or { result = method.result, assignable = method.assignable, declarations = {} }
    table.insert(found[name].declarations, inHostSyntax(method.declaration, method.result)
      .. (method.assignable and "  ' assignable" or ""))
  end
  return found
end

-- The classes of a page, each with its iterator's, which is registered next: {name, label, members, iterator, order}.
local function classesOf(family)
  local found, all = {}, Classes()
  for i, class in ipairs(all) do
    if class.name:find(family.classes) and not isIterator(class) then
      local value, kind = class.name:match("^%u%l+To(%u%l+)(%u%l+)Map")
      kind = kind or class.name:match("(%u%l+)Set")
      found[#found + 1] = {
        name = class.name, members = membersOf(class), iterator = all[i + 1].name,
        iteratorMembers = membersOf(all[i + 1]), hash = kind == "Hash",
        label = kind:lower() .. (value and ", to " .. value or ""),
      }
    end
  end
  table.sort(found, function(a, b)
    if a.hash ~= b.hash then return b.hash end
    return a.name < b.name
  end)
  return found
end

-- What a cell of the table shows for a member: the type of its result.
local function cell(class, member)
  local found = class[member.iterator and "iteratorMembers" or "members"][member.name]
  if not found then return "" end
  local result = found.result
  if not result then return "✓" end
  if result == class.iterator then return "iterator" end
  if result == class.name then return "map" end
  result = result:sub(1, 1):upper() .. result:sub(2)
  return result .. (found.assignable and ", assignable" or "")
end

local function memberTable(family, classes)
  local header, ruler = { "Member" }, { "---" }
  for _, class in ipairs(classes) do
    header[#header + 1], ruler[#ruler + 1] = class.label, "---"
  end
  local rows = { "| " .. table.concat(header, " | ") .. " |", "|" .. table.concat(ruler, "|") .. "|" }
  for _, section in ipairs(sections) do
    for _, member in ipairs(section.members) do
      local cells, there = { link(member.name) .. (member.iterator and " of iterators" or "") }, false
      for _, class in ipairs(classes) do
        cells[#cells + 1] = cell(class, member)
        there = there or cells[#cells] ~= ""
      end
      if there then rows[#rows + 1] = "| " .. table.concat(cells, " | ") .. " |" end
    end
  end
  return table.concat(rows, "\n") .. "\n"
end

local function page(family, classes)
  local out = { "# " .. family.title .. "\n", prose(family.intro, family), "## Classes\n" }
  local declared = { [false] = {}, [true] = {} }  -- members by whether they are iterators'
  for _, class in ipairs(classes) do
    local order = class.hash and family.hash or family.ordered
    out[#out + 1] = "### " .. class.name .. "\n"
    out[#out + 1] = prose(("%s\n\nIts iterator is `%s`."):format(order, class.iterator), family)
    for name in pairs(class.members) do declared[false][name] = true end
    for name in pairs(class.iteratorMembers) do declared[true][name] = true end
  end
  out[#out + 1] = "## Members\n"
  out[#out + 1] = prose([[What each class has, and the type that it returns; ✓ is a method that returns no value.
Explanations follow in this order.]], family)
  out[#out + 1] = memberTable(family, classes)
  out[#out + 1] = prose([[
Declarations and examples are those of `$Class`; another class has its own name and its own iterator in their place, and
a declaration that differs otherwise stands there too. Examples are in the host's language first, and then for the
[console](../stand-in-host.md). What a line returns stands behind it. Each example starts from these lines:]], family)
  out[#out + 1] = "<!-- shared -->\n" .. run(family.setup, setmetatable({}, { __index = _G }), family)
    :gsub("\n```lua", "\n<!-- shared -->\n```lua")
  for _, section in ipairs(sections) do
    local entries = {}
    for _, member in ipairs(section.members) do
      local scope = member.iterator == true
      if declared[scope][member.name] then
        declared[scope][member.name], described[member] = nil, true
        entries[#entries + 1] = explanation(member, family, classes)
        local heading = member.name .. (scope and " of iterators" or "")
        index[heading] = index[heading] or {}
        index[heading][family.file] = anchor(member.name)
      end
    end
    if #entries > 0 then
      out[#out + 1] = "## " .. section.title .. "\n"
      if section.text then out[#out + 1] = prose(section.text, family) end
      out[#out + 1] = table.concat(entries, "\n")
    end
  end
  out[#out + 1] = "## Objects without a container\n"
  out[#out + 1] = prose(family.without, family)
  for _, left in pairs(declared) do
    for name in pairs(left) do stop(name .. " in " .. family.file .. " has no description") end
  end
  return table.concat(out, "\n")
end

local function indexPage()
  local headings = {}
  for heading in pairs(index) do headings[#headings + 1] = heading end
  table.sort(headings, function(a, b)
    if a:lower() ~= b:lower() then return a:lower() < b:lower() end
    return a < b
  end)
  local pages, ruler = { "Member" }, { "---" }
  for _, family in ipairs(families) do
    pages[#pages + 1], ruler[#ruler + 1] = ("[%s](%s)"):format(family.label, family.file), ":-:"
  end
  local out = { "# All members\n", "Every member of every class; ● leads to where it is explained.\n",
                "| " .. table.concat(pages, " | ") .. " |", "|" .. table.concat(ruler, "|") .. "|" }
  for _, heading in ipairs(headings) do
    local cells = { ("`%s`%s"):format(heading:gsub(" of iterators$", ""),
      heading:find(" of iterators$") and " of iterators" or "") }
    for _, family in ipairs(families) do
      local found = index[heading][family.file]
      cells[#cells + 1] = found and ("[●](%s#%s)"):format(family.file, found) or ""
    end
    out[#out + 1] = "| " .. table.concat(cells, " | ") .. " |"
  end
  return table.concat(out, "\n") .. "\n"
end

local function write(name, content)
  local path = directory .. "/" .. name
  local file, reason = io.open(path, "w")
  if not file or not file:write(content) or not file:close() then stop("cannot write " .. (reason or path)) end
end

for _, family in ipairs(families) do
  local classes = classesOf(family)
  if #classes == 0 then stop("no class is one of the " .. family.title) end
  write(family.file, page(family, classes))
end
write("members.md", indexPage())

for _, class in ipairs(Classes()) do
  local place = false
  for _, family in ipairs(families) do place = place or class.name:find(family.classes) end
  if not place then stop(class.name .. " has no page") end
end
for _, section in ipairs(sections) do
  for _, member in ipairs(section.members) do
    if not described[member] then stop("no class has the member " .. member.name .. ", which is described") end
  end
end
