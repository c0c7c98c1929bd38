-- What scripts see of host values. Run by the console; ends with a marker, so that a crash cannot pass for success.

local function fails(text, f, ...)
  local done, reason = pcall(f, ...)
  assert(not done, "no error; expected: " .. text)
  reason = tostring(reason)
  assert(reason:find(text, 1, true), "wrong error: " .. reason .. "; expected: " .. text)
  assert(reason:match("^[^:]*console_test%.lua:%d+: "), "error without position: " .. reason)
end

local m = IntegerToIntegerOrderedMapQZR()
assert(m.Empty and m.Count == 0)
m.value[3] = 9
m.Value[math.maxinteger] = math.mininteger
m.VALUE[6 / 2 - 5] = 2^53
assert(m.value[3] == 9 and m:value(3) == 9)
assert(math.type(m.value[-2]) == "integer" and m.value[-2] == 1 << 53)
assert(m.value[math.maxinteger] == math.mininteger and m:cOUNTkEY(3) == 1 and m:haskey(4) == false)

-- Methods without parameters read as values, and may be called all the same, once.
local it = m:find(3)
assert(it.Key == 3 and it:Key() == 3 and it.Value == 9 and it:value() == 9)
it.Value = 10
assert(m.value[3] == 10)
assert(m.first:isEqual(m:first()) and m:Clone():Count() == 3)
local calls = {}
for _, read in ipairs { m.Count, m.Empty, it.Key } do calls[#calls + 1] = pcall(function() return read(m) end) end
assert(not (calls[1] or calls[2] or calls[3]), "plain values must not be callable")
fails("Key takes no arguments", function() it:Key(1) end)
fails("attempt to call a number value (local 'it')", function() local it = 5; it() end)
fails("there is no class or function 'SomethingQZR'", function() SomethingQZR() end)
fails("attempt to call a nil value (method 'find')", function() ({}):find() end)

-- Sets of overloads, results, and their absence.
assert(select("#", m:Remove(it)) == 0 and m:Remove(3) == 0 and m.Count == 2)
assert(IntegerToIntegerOrderedMapQZR(m).Count == 2 and integertointegerorderedmapqzr(m).Count == 2)
assert(m == m:find(-2) == false and m:first() ~= m:first() and m.value ~= m.value)
assert(tostring(m):match("^IntegerToIntegerOrderedMapQZR: ") and ClassName(m) == "IntegerToIntegerOrderedMapQZR")
assert(tostring(m.value) == "IntegerToIntegerOrderedMapQZR.value")

-- pairs goes in key order, and its entry may be removed.
local keys = {}
for key, value in pairs(m) do
  keys[#keys + 1] = key
  if value == 1 << 53 then m:Remove(key) end
end
assert(table.concat(keys, " ") == "-2 " .. math.maxinteger and m.Count == 1)

-- Host exceptions are values.
local done, exception = pcall(function() return m.value[8] end)
assert(not done and exception.class == "KeyNotFoundException" and exception.message == "Key not found")
assert(exception.errorNumber == 0 and tostring(exception):match(":%d+: KeyNotFoundException: Key not found$"))
fails("RuntimeException: Iterator is no longer valid", function() return it.Key end)
fails("NilObjectException: Other map is nil", function() StringToStringHashMapQZR(nil) end)

-- Mistakes of the script.
local Map = "IntegerToIntegerOrderedMapQZR"
fails("class " .. Map .. " has no member 'Foo'", function() return m.Foo end)
fails("class " .. Map .. " has no member 'Foo'", function() m.Foo = 1 end)
fails(Map .. " is indexed by member names, not by a number", function() return m[1] end)
fails(Map .. ".Count cannot be assigned", function() m.Count = 1 end)
fails(Map .. ".find cannot be assigned by index", function() m.find[1] = 1 end)
fails("find with a colon", function() m.find(3) end)
fails("find with a colon", function() m.find(IntegerToIntegerOrderedMapQZR(), 3) end)
fails(Map .. ".find: argument 1 must be an Integer, not 2.5", function() m:find(2.5) end)
fails(Map .. ".value: argument 1 must be an Integer", function() m:value(2^63) end)
fails(Map .. ".value: the assigned value must be an Integer", function() m.value[1] = 0 / 0 end)
fails("cannot be called with (String)", function() m:find("3") end)
fails("cannot be called with (" .. Map .. ")", function() m:find(m) end)
fails("cannot be called with ()", function() m:find() end)
fails("a table is no host value", function() m:find({}) end)
fails("a host object is wanted, not a function", function() m:find(print) end)
fails("Integer", function() m.value[1] = "x" end)

-- Arrays and dictionaries.
local a = Array { 1, 2, 3 }
a:append(4)
assert(#a == 4 and a[0] == 1 and a[3] == 4 and table.concat(a:totable(), " ") == "1 2 3 4")
local sum = 0
for i, v in pairs(a) do sum = sum + i * v end
assert(sum == 0 * 1 + 1 * 2 + 2 * 3 + 3 * 4)
assert(Array({ "ä", "b" })[0] == "ä" and #Array({}, "string") == 0)
local mixed = Array { 1, "two", true, m }
assert(mixed[0] == 1 and mixed[1] == "two" and mixed[2] == true and mixed[3] == m)
fails("array index 4 is not in 0 to 3", function() return a[4] end)
fails("array index -1 is not in 0 to -1", function() return Array({})[-1] end)
fails("no arrays of 'Picture'", function() Array({}, "Picture") end)
fails("array index 4 is not in 0 to 3", function() a[4] = 1 end)
fails("arrays are indexed by integers", function() return a[0.5] end)
fails("must be an Integer, not 0.5", function() a[0] = 0.5 end)
fails("Integer", function() a:append("x") end)
a[0], a[3] = 6 / 2, math.mininteger
assert(a[0] == 3 and math.type(a[0]) == "integer" and a[3] == math.mininteger)
mixed[1], mixed[3] = nil, Variant.Int32(5)
assert(mixed[1] == nil and mixed[3] == Variant.Int32(5) and mixed[3] ~= Variant.UInt32(5))
local d = Dictionary { one = 1, [2] = "two" }
d.three = m
assert(#d == 3 and d.one == 1 and d[2] == "two" and d.three == m and d.four == nil)
local seen = 0
for k, v in pairs(d) do seen = seen + (d[k] == v and 1 or 0) end
assert(seen == 3)

d[2] = "TWO"
d[Variant.Int32(2)] = "another"
d[nil] = "none"
assert(#d == 5 and d[2] == "TWO" and d[Variant.Int32(2)] == "another" and d[2.0] == nil and d[Variant.Nil] == "none")
local keysOfDictionary = {}
for k in pairs(d) do keysOfDictionary[#keysOfDictionary + 1] = tostring(k) end
assert(table.concat(keysOfDictionary, " "):find("three Variant.Int32(2) Variant.Nil", 1, true), "order of setting")

-- Maps turn into dictionaries by themselves.
local words = StringToVariantHashMapQZR(d)
assert(words.Count == 4 and words.value.three == m and words.value[""] == "none")
assert(words.value["2"] == "another", "of keys that become one, the later value")
assert(StringToVariantOrderedMapQZR(words, false):lookup("THREE", nil) == m and Dictionary(words).one == 1)
fails("no member 'Operator_Convert'", function() Dictionary(IntegerHashSetQZR()) end)

-- Variants keep their exact type on their way through a container; so do objects.
local exact = VariantToVariantHashMapQZR()
local destroyed = 0
local kinds = {
  Variant.Int32(-1), Variant.UInt32(0xFFFFFFFF), 5, Variant.Int64(-6), Variant.UInt64(-1), Variant.Single(0.5), 2.0,
  Variant.Currency(1.25), true, Variant.Color(0xFF00FF), Variant.Text("5"), "5", m, a, d,
  ScriptObject("Kept", function() destroyed = destroyed + 1 end),
}
for i, kind in ipairs(kinds) do exact.value[kind] = kind end
assert(exact.Count == #kinds)
for i, kind in ipairs(kinds) do
  local back = exact.value[kind]
  assert(back == kind and math.type(back) == math.type(kind) and exact:hasKey(back), "kind " .. i)
end
for key, value in pairs(exact) do assert(key == value) end
local unsigned = exact.value[Variant.UInt64(-1)]
assert(unsigned.type == "UInt64" and unsigned.value == -1 and tostring(unsigned) == "Variant.UInt64(18446744073709551615)")
assert(tostring(Variant.Text("5")) == 'Variant.Text("5")' and Variant.Boolean(false) == false)
kinds = nil
exact:Clear()
exact.value[nil] = 1
for key in pairs(exact) do assert(key == Variant.Nil and exact:hasKey(key)) end
collectgarbage()
assert(destroyed == 1)
fails("2147483648 does not fit in Variant.Int32", function() Variant.Int32(2^31) end)
fails("-1 does not fit in Variant.UInt32", function() Variant.UInt32(-1) end)
fails("Variant.Int32 must be an Integer, not 0.5", function() Variant.Int32(0.5) end)
fails("Variant.Single takes a number", function() Variant.Single("1") end)
fails("Variant.Boolean takes a Boolean", function() Variant.Boolean(1) end)
fails("Variant.Text takes a text", function() Variant.Text(1) end)
fails("variants have no member 'foo'", function() return Variant.Int32(1).foo end)

-- Text is one key in whatever encoding it comes.
local texts = StringOrderedSetQZR()
texts:insert("ä")
texts:insert(String("\xe4\0", "utf-16le"))
texts:insert(String("\0\0\0\xe4", "UTF-32BE"))
texts:insert(String("\x8a", "MacRoman"))
assert(texts.Count == 1 and texts:Key(0) == "ä" and tostring(String("\xe4", "ISO-8859-1")) == "ä")
assert(String("a\0", "utf-16le") == String("a") and String("a") ~= "a")
fails("there is no encoding 'EBCDIC'; there are ASCII, ", function() String("a", "EBCDIC") end)

-- Arrays as arguments and results; sets.
local set = IntegerOrderedSetQZR(Array { 3, 1, 2, 3 })
local members = {}
for key, present in pairs(set) do members[#members + 1] = key .. tostring(present) end
assert(table.concat(members, " ") == "1true 2true 3true")
assert(set.Keys[2] == 3 and #set:Keys() == 3 and set:Key(0) == 1)
m:AddKeys(a)
assert(#a == 5 and a[0] == math.maxinteger)  -- in front of what was there
fails("cannot be called with (String())", function() m:AddKeys(Array { "x" }) end)

-- References end with the scope, or with the collection of garbage; then destructors run.
local log = {}
do
  local object <close> = ScriptObject("Noisy", function() log[#log + 1] = "closed" end)
  assert(ClassName(object) == "Noisy")
end
Array { ScriptObject("Noisy", function() log[#log + 1] = "collected with " .. m.Count end) }
coroutine.wrap(collectgarbage)()
collectgarbage()
assert(table.concat(log, ", ") == "closed, collected with 1", table.concat(log, ", "))
fails("a destructor must be a function", function() ScriptObject("Noisy", 1) end)
fails("the class name Array is taken", function() ScriptObject("Array") end)

print("end of console_test.lua")
