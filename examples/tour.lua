-- A visit to each of the eighteen containers and their eighteen iterators.
--
--   vornik-host examples/tour.lua
--
-- Every class goes the same way round; what it prints shows where the classes differ. Ordered maps with String or
-- Variant keys run from the greatest key to the smallest, ordered sets from the smallest to the greatest; the order
-- of a hash class is that of its table.

local samples = {
  Integer = { 30, 10, 20, 25 },
  String = { "pear", "fig", "plum", "kiwi" },
  Variant = { 3, 1, 2, 2.5 },
}
local function text(value)
  local isArray = type(value) == "userdata" and ClassName(value) == "Array"
  return isArray and "(" .. table.concat(value:totable(), " ") .. ")" or tostring(value)
end
local function show(...)
  local parts = table.pack(...)
  for i = 1, parts.n do parts[i] = text(parts[i]) end
  print("  " .. table.concat(parts, " "))
end
local function exceptionOf(f)
  local done, exception = pcall(f)
  assert(not done, "no exception")
  return exception.class .. ' "' .. exception.message .. '"'
end

-- The keys (and values) that an iterator meets on its way from first to last, and back where it can go back.
local function walk(container, isMap, isOrdered)
  local forth, back = {}, {}
  local it = container.first
  while it:isNotEqual(container.last) do
    forth[#forth + 1] = isMap and text(it.Key) .. "=" .. text(it.Value) or text(it.Key)
    it:MoveNext()
  end
  show("forth:", table.unpack(forth))
  if not isOrdered then return end
  while not it:isEqual(container.first) do
    it:MovePrev()
    back[#back + 1] = text(it.Key)
  end
  show("back: ", table.unpack(back))
end

local visited = 0
for _, class in ipairs(Classes()) do
  local keyType, valueType, kind = class.name:match("^(%u%l+)To(%u%l+)(%u.*)QZR$")
  if not keyType then keyType, kind = class.name:match("^(%u%l+)(%u.*)QZR$") end
  if not kind:find("Iterator") then
    visited = visited + 1
    local isMap, isOrdered = valueType ~= nil, kind:find("Ordered") ~= nil
    local a, b, c, d = table.unpack(samples[keyType])
    local container = _G[class.name]()
    print(class.name .. " and " .. ClassName(container.first))

    -- Maps are assigned to, sets are inserted into.
    for i, key in ipairs { a, b, c, a } do
      if isMap then
        local value = { Integer = i * 100, String = "v" .. i, Variant = i + 0.5 }
        container.value[key] = value[valueType]
      else
        container:insert(key)
      end
    end
    show("holds", container.Count, isOrdered and "entries" or "entries in " .. container.BinCount .. " bins")
    walk(container, isMap, isOrdered)
    show("Keys", container.Keys, "Key(1)", container:Key(1), "CountKey", container:CountKey(b), container:CountKey(d))

    -- What one kind has and another lacks.
    if isMap then
      container:find(b).Value = valueType == "String" and "new" or 7
      show("Values", container.Values, "where b is now", container.value[b])
      show("lookup", container:lookup(d, valueType == "String" and "none" or 0))
      show("value", exceptionOf(function() return container.value[d] end))
      local dictionary = container:CloneDictionary()
      local copy, clone = _G[class.name](dictionary), container:Clone()
      show("as a Dictionary", #dictionary, "from it", copy.Count, "as a clone", clone.Count)
    else
      show("lookup", container:lookup(b), container:lookup(d))
    end
    if isOrdered then
      local from, to = container:LowerBound(c), container:UpperBound(c)
      show("LowerBound", from.Key, "UpperBound", to:isEqual(container.last) and "last" or to.Key)
    end
    if keyType == "String" then
      local folded = _G[class.name](false)
      for _, key in ipairs { "Fig", "FIG" } do
        if isMap then folded.value[key] = key else folded:insert(key) end
      end
      show("case-insensitive", folded.Keys, "CountKey", folded:CountKey("fig"))
    end

    -- An iterator stays where its entry is, and is told when the entry has gone.
    local it = container:find(c)
    container:Remove(a)
    show("still at", it.Key)
    container:Remove(it)
    show("then", exceptionOf(function() it:MoveNext() end))
    container:Remove(container.first, container.last)
    show("at last", container.Empty, exceptionOf(function() return container.last.Key end))
  end
end
print(visited .. " containers visited")
