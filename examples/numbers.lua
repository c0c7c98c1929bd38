-- Who came how long? Joins two lists by number: members (number, name) and visits (member's number, minutes).
--
--   vornik-host examples/numbers.lua [MEMBERS VISITS [TOP]]
--
-- By default the lists in examples/data. Shows the work of each kind of map and set with Integer keys.

local here = arg[0]:match("^(.*/)") or ""
local membersPath = arg[1] or here .. "data/members.txt"
local visitsPath = arg[2] or here .. "data/visits.txt"
local top = math.tointeger(arg[3] or 3)

local function stop(message)
  io.stderr:write("numbers: ", message, "\n")
  os.exit(1)
end
if not top or top < 1 then stop("TOP must be a number above 0, not '" .. arg[3] .. "'") end

-- Calls take(number, rest) for each line "number rest".
local function read(path, take)
  local file, reason = io.open(path)
  local text = file and file:read("a")
  if not text then stop("cannot read " .. (reason or path)) end
  local line = 0
  for content in text:gmatch("([^\n]*)\n") do
    line = line + 1
    local number, rest = content:match("^(%d+)%s+(.+)$")
    if content ~= "" and not math.tointeger(number) then stop(path .. ":" .. line .. ": no number and text") end
    if number then take(math.tointeger(number), rest, line) end
  end
end

local names = IntegerToStringHashMapQZR()     -- member -> name
read(membersPath, function(member, name) names.value[member] = name end)

local minutes = IntegerToIntegerHashMapQZR()  -- visitor -> minutes in all
local lengths = IntegerToIntegerOrderedMapQZR()  -- minutes of a visit -> how many visits
local unknown = IntegerOrderedSetQZR()        -- visitors that are no members
read(visitsPath, function(member, rest, line)
  local length = math.tointeger(rest)
  if not length then stop(visitsPath .. ":" .. line .. ": '" .. rest .. "' is no number of minutes") end
  minutes.value[member] = minutes:lookup(member, 0) + length
  lengths.value[length] = lengths:lookup(length, 0) + 1
  if not names:hasKey(member) then unknown:insert(member) end
end)

-- The join. Totals that are the same share one entry, whose value is a set.
local byMinutes = IntegerToVariantOrderedMapQZR()
for member, total in pairs(minutes) do
  if names:hasKey(member) then
    if not byMinutes:hasKey(total) then byMinutes.value[total] = StringOrderedSetQZR() end
    byMinutes.value[total]:insert(names.value[member])
  end
end
print(("%d members, %d visitors"):format(names.Count, minutes.Count))
local it = byMinutes.last
for _ = 1, math.min(top, byMinutes.Count) do
  it:MovePrev()
  print(("%5d minutes  %s"):format(it.Key, table.concat(it.Value.Keys:totable(), ", ")))
end

-- What one list has and the other lacks.
if unknown.Count > 0 then print("no members: " .. table.concat(unknown.Keys:totable(), ", ")) end
local absent = IntegerOrderedSetQZR(names.Keys)
for member in pairs(minutes) do absent:Remove(member) end
for member in pairs(absent) do print("never came: " .. names.value[member]) end

-- A range of keys: from the first that is not below, up to the first that is above.
local from, to, visits = lengths:LowerBound(30), lengths:UpperBound(60), 0
while from:isNotEqual(to) do
  visits = visits + from.Value
  from:MoveNext()
end
print(visits .. " visits of 30 to 60 minutes")
