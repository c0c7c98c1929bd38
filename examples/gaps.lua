-- Which numbers are missing from a series, and which are there twice? For invoices, tickets, file names.
--
--   vornik-host examples/gaps.lua [FILE]
--
-- Takes every whole number in FILE, or in the standard input.

local file, reason = io.stdin, nil
if arg[1] then file, reason = io.open(arg[1]) end
local text = file and file:read("a")
if not text then
  io.stderr:write("gaps: cannot read ", reason or arg[1], "\n")
  os.exit(1)
end

local seen = IntegerToIntegerOrderedMapQZR()  -- number -> how often
for digits in text:gmatch("%d+") do
  local number = math.tointeger(digits)
  if not number then
    io.stderr:write("gaps: ", digits, " is too large\n")
    os.exit(1)
  end
  seen.value[number] = seen:lookup(number, 0) + 1
end
if seen.Empty then
  print("no numbers")
  os.exit()
end

local function range(first, last) return first == last and tostring(first) or first .. " to " .. last end

-- In key order, whatever lies between an entry and the one before it is missing.
local missing, previous = 0, nil
for number, times in pairs(seen) do
  if previous and number > previous + 1 then
    print("missing  " .. range(previous + 1, number - 1))
    missing = missing + number - previous - 1
  end
  if times > 1 then print("repeated " .. number .. ", " .. times .. " times") end
  previous = number
end
print(("%d numbers, %s; %d missing"):format(seen.Count, range(seen:first().Key, previous), missing))
