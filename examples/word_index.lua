-- An index of the words of some texts: where each stands, how often, and which are the most frequent.
--
--   vornik-host examples/word_index.lua FILE...
--
-- Words that differ only in letter case are one word in the index, under the spelling met first.

local function stop(message)
  io.stderr:write("word_index: ", message, "\n")
  os.exit(1)
end
if #arg == 0 then stop("name one or more texts") end

local places = StringToVariantHashMapQZR(false)  -- word -> file -> set of line numbers; letter case aside
local counts = StringToVariantHashMapQZR(false)  -- word -> how often
local spellings = StringHashSetQZR()             -- case-sensitive
local total = 0

local function note(word, file, line)
  total = total + 1
  spellings:insert(word)
  counts.value[word] = counts:lookup(word, 0) + 1
  -- Containers are objects, so a Variant can hold one. What comes out of a map is that object, not a copy.
  local files = places:lookup(word, nil)
  if not files then
    files = StringToVariantHashMapQZR()
    places.value[word] = files
  end
  local lines = files:lookup(file, nil)
  if not lines then
    lines = IntegerOrderedSetQZR()
    files.value[file] = lines
  end
  lines:insert(line)
end

for _, path in ipairs(arg) do
  local file, reason = io.open(path)
  local text = file and file:read("a")  -- nil for a directory
  if not text then stop("cannot read " .. (reason or path)) end
  local number = 0
  for line in text:gmatch("([^\n]*)\n?") do
    number = number + 1
    for word in line:gmatch("[%a\x80-\xff]+") do note(word, path, number) end
  end
end
if total == 0 then stop("there are no words in " .. table.concat(arg, ", ")) end

-- A hash map keeps no order; a set of its keys does. Ordered sets run upwards, also with String keys.
local words = StringOrderedSetQZR(false)
for word in pairs(places) do words:insert(word) end
for word in pairs(words) do
  local where = {}
  for file, lines in pairs(places.value[word]) do
    where[#where + 1] = (#arg > 1 and file .. ": " or "") .. table.concat(lines.Keys:totable(), ", ")
  end
  table.sort(where)
  print(("%-16s %4d  %s"):format(word, counts.value[word], table.concat(where, "; ")))
end

print(("\n%d words, %d different ones, %d spellings"):format(total, words.Count, spellings.Count))

-- The most frequent: an ordered map from count to words, walked backwards from its end position.
local byCount = IntegerToVariantOrderedMapQZR()
for word, count in pairs(counts) do
  if not byCount:hasKey(count) then byCount.value[count] = StringOrderedSetQZR() end
  byCount.value[count]:insert(word)
end
local it = byCount.last
for _ = 1, math.min(5, byCount.Count) do
  it:MovePrev()
  print(("%5d times  %s"):format(it.Key, table.concat(it.Value.Keys:totable(), ", ")))
end
