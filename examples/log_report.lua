-- What a web server's log tells: pages with their requests, errors and times, the hours, and the visitors.
--
--   vornik-host examples/log_report.lua [FILE]
--
-- By default examples/data/access.txt. A line is "TIME VISITOR PAGE STATUS SECONDS", as in
-- "06:02:11 anna /map 200 0.041".

local path = arg[1] or (arg[0]:match("^(.*/)") or "") .. "data/access.txt"
local function stop(message)
  io.stderr:write("log_report: ", message, "\n")
  os.exit(1)
end
local file, reason = io.open(path)
local text = file and file:read("a")
if not text then stop("cannot read " .. (reason or path)) end

local pages = StringToVariantOrderedMapQZR()   -- page -> map of what is known about it
local hours = IntegerToIntegerOrderedMapQZR()  -- hour -> requests
local visitors = StringHashSetQZR(false)       -- letter case aside
local statuses = VariantToVariantHashMapQZR()  -- status, or the word "slow" -> requests

local function count(map, key) map.value[key] = map:lookup(key, 0) + 1 end

local number = 0
for line in text:gmatch("([^\n]+)\n?") do
  number = number + 1
  local hour, visitor, page, status, seconds = line:match("^(%d%d):%S+ (%S+) (%S+) (%d+) ([%d.]+)$")
  if not hour then stop(path .. ":" .. number .. ": not TIME VISITOR PAGE STATUS SECONDS") end
  status, seconds = math.tointeger(status), tonumber(seconds)
  count(hours, math.tointeger(hour))
  visitors:insert(visitor)
  count(statuses, status)
  if seconds >= 1 then count(statuses, "slow") end  -- keys of different types do not meet

  if not pages:hasKey(page) then pages.value[page] = StringToVariantHashMapQZR() end
  local facts = pages.value[page]
  count(facts, "requests")
  if status >= 400 then count(facts, "errors") end
  facts.value["seconds"] = facts:lookup("seconds", 0.0) + seconds  -- a Double beside the Integers
  local slowest = facts:lookup("slowest", nil)
  if not slowest or seconds > slowest[0] then facts.value["slowest"] = Array { seconds, line } end
end
if number == 0 then stop(path .. " is empty") end

print(("%d requests by %d visitors"):format(number, visitors.Count))
print("\nrequests  errors  mean time  page")
local it = pages.last  -- String maps run downwards, so the alphabet is the way back
while it:isNotEqual(pages.first) do
  it:MovePrev()
  local facts = it.Value
  local requests = facts.value["requests"]
  local mean = facts.value["seconds"] / requests
  print(("%8d  %6d  %7.3f s  %s"):format(requests, facts:lookup("errors", 0), mean, it.Key))
end

print("\nstatus")
local known = VariantOrderedSetQZR()  -- its keys are in order if they are of one type, so without the word
for status in pairs(statuses) do
  if math.type(status) then known:insert(status) end
end
for status in pairs(known) do print(("%8d  %d"):format(statuses.value[status], status)) end
print(("%8d  took a second or more"):format(statuses:lookup("slow", 0)))
for page, facts in pairs(pages) do
  local slowest = facts.value["slowest"]
  if slowest[0] >= 1 then print("          the slowest of " .. page .. ": " .. slowest[1]) end
end

print("\nhour")
for hour, requests in pairs(hours) do print(("%8d  %s"):format(hour, ("*"):rep(requests))) end
