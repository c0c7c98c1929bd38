-- How long are the lines of a text, and where are the longest ones?
--
--   vornik-host examples/line_lengths.lua [FILE [LIMIT]]
--
-- Charts how many lines there are of each length, in characters; lengths above LIMIT (100) share one bar.
-- Without FILE, this script measures itself.

local path = arg[1] or arg[0]
local limit = math.tointeger(arg[2] or 100)
if not limit or limit < 0 then
  io.stderr:write("line_lengths: the limit must be a number of characters, not '", arg[2], "'\n")
  os.exit(2)
end

local file, reason = io.open(path)
local text = file and file:read("a")  -- nil for a directory
if not text then
  io.stderr:write("line_lengths: cannot read ", reason or path, "\n")
  os.exit(1)
end

if text == "" then
  print(path .. ": no lines")
  os.exit()
end

-- An ordered map keeps its keys ascending, so the chart needs no sorting.
local counts = IntegerToIntegerOrderedMapQZR()     -- length -> number of lines
local firstLine = IntegerToIntegerOrderedMapQZR()  -- length -> number of the first line with it
local lines = 0

for line in text:gmatch("([^\n]*)\n?") do
  line = line:gsub("\r$", "")
  local length = utf8.len(line) or #line  -- bytes where the text is no UTF-8
  lines = lines + 1
  counts.value[length] = counts:lookup(length, 0) + 1  -- lookup: the value, or 0 for a new key
  if not firstLine:hasKey(length) then firstLine.value[length] = lines end
end

-- An iterator starts at `first`, moves with MoveNext, and is done when it is equal to `last`, which is behind the
-- last entry. MovePrev from there reaches the last entry.
local it = counts:last()
it:MovePrev()
local longest = it.Key
print(("%s: %d lines, %d different lengths, %d to %d characters\n"):format(
  path, lines, counts.Count, counts:first().Key, longest))

-- What is above the limit goes from this map into one number. LowerBound is the first entry with that key or a
-- greater one, UpperBound the first with a greater one; Remove takes out what is between the two.
local above = 0
local from, to = counts:LowerBound(limit + 1), counts:UpperBound(longest)
it = counts:LowerBound(limit + 1)
while it:isNotEqual(to) do
  above = above + it.Value
  it:MoveNext()
end
if above > 0 then counts:Remove(from, to) end

local most = above
for _, count in pairs(counts) do most = math.max(most, count) end

local parts = { "▏", "▎", "▍", "▌", "▋", "▊", "▉" }
local function bar(count)
  local eighths = math.max(1, count * 50 * 8 // most)
  return ("█"):rep(eighths // 8) .. (parts[eighths % 8] or "")
end

print("length  lines")
it = counts:first()
while it:isNotEqual(counts.last) do
  print(("%6d %6d  %s"):format(it.Key, it.Value, bar(it.Value)))
  it:MoveNext()
end
if above > 0 then print((">%5d %6d  %s"):format(limit, above, bar(above))) end

print("\nThe longest, with the first line that has the length:")
it = firstLine:last()
for _ = 1, math.min(5, firstLine.Count) do
  it:MovePrev()
  print(("%6d characters  %s:%d"):format(it.Key, path, it.Value))
end

-- A length without lines: lookup answers with a default, value raises an exception of the host.
local absent = 0
while firstLine:hasKey(absent) do absent = absent + 1 end
local found, exception = pcall(function() return firstLine.value[absent] end)
assert(not found and exception.class == "KeyNotFoundException", exception)
print(("\nNo line has the length %d: lookup(%d, -1) is %d; value[%d] raises %s, \"%s\"."):format(
  absent, absent, firstLine:lookup(absent, -1), absent, exception.class, exception.message))
