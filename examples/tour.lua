-- A visit to every container and its iterator.
--
--   vornik-host examples/tour.lua
--
-- Every class goes the same way round; what it prints shows where the classes differ. Ordered maps with String or
-- Variant keys run from the greatest key to the smallest, ordered sets from the smallest to the greatest; the order
-- of a hash class is that of its table.

-- Three keys of each type, and one that is in no container; three values, one to assign later, and a default.
local keySamples = {
  Integer = { 30, 10, 20, 25 },
  String = { "pear", "fig", "plum", "kiwi" },
  Variant = { 3, 1, 2, 2.5 },
}
local valueSamples = {
  Integer = { 100, 200, 300, 400, new = 7, none = 0 },
  String = { "v1", "v2", "v3", "v4", new = "new", none = "none" },
  Variant = { 1.5, 2.5, 3.5, 4.5, new = 7, none = 0 },
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
    local keys, values = keySamples[keyType], valueSamples[valueType or keyType]
    if not keys or not values then
      io.stderr:write("tour: no samples for the keys or the values of ", class.name, "\n")
      os.exit(1)
    end
    local a, b, c, d = table.unpack(keys)
    local container = _G[class.name]()
    print(class.name .. " and " .. ClassName(container.first))

    -- Maps are assigned to, sets are inserted into.
    for i, key in ipairs { a, b, c, a } do
      if isMap then
        container.value[key] = values[i]
      else
        container:insert(key)
      end
    end
    show("holds", container.Count, isOrdered and "entries" or "entries in " .. container.BinCount .. " bins")
    walk(container, isMap, isOrdered)
    show("Keys", container.Keys, "Key(1)", container:Key(1), "CountKey", container:CountKey(b), container:CountKey(d))

    -- What one kind has and another lacks.
    if isMap then
      container:find(b).Value = values.new
      show("Values", container.Values, "where b is now", container.value[b])
      show("lookup", container:lookup(d, values.none))
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
      for i, key in ipairs { "Fig", "FIG" } do
        if isMap then folded.value[key] = values[i] else folded:insert(key) end
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
