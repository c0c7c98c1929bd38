-- Runs example lines as the prompt would, and says what each answers: the text behind the arrow in the documents. The
-- reference is written with it, and the check of the other documents holds them to it.

local function show(value)
  if type(value) == "string" then return ("%q"):format(value):gsub("\\\n", "\\n") end
  if math.type(value) or type(value) ~= "userdata" or tostring(value):find("^Variant%.") then return tostring(value) end
  local class = ClassName(value)
  if class == "Array" or class == "Dictionary" then return tostring(value) end
  return (class:find("^[AIO]") and "an " or "a ") .. class
end

-- What a line answers in an environment, which gets a print of its own; nil for nothing. A host exception is an
-- answer; any other error is raised.
return function(line, environment)
  local printed = {}
  environment.print = function(...)
    local texts = table.pack(...)
    for i = 1, texts.n do texts[i] = show(texts[i]) end
    printed[#printed + 1] = table.concat(texts, " ")
  end
  local chunk = load("return " .. line, "example", "t", environment) or load(line, "example", "t", environment)
  if not chunk then error("example cannot be read: " .. line, 0) end
  local results = table.pack(pcall(chunk))
  if not results[1] then
    local exception = results[2]
    if type(exception) ~= "table" then error("example fails: " .. line .. ": " .. tostring(exception), 0) end
    return ('raises %s "%s"'):format(exception.class, exception.message)
  end
  for i = 2, results.n do printed[#printed + 1] = show(results[i]) end
  return #printed > 0 and table.concat(printed, ", ") or nil
end
