-- What scripts see of host values. Run by the console; ends with a marker, so that a crash cannot pass for success.
-- Nearly everything is global, for the statements that are to fail.

-- Each statement has to fail with this text, behind the position of the mistake.
local function fails(text, ...)
  for _, statement in ipairs { ... } do
    local done, reason = pcall(assert(load(statement, "=statement")))
    assert(not done, "no error from " .. statement .. "; expected: " .. text)
    reason = tostring(reason)
    assert(reason:find(text, 1, true), "wrong error: " .. reason .. "; expected: " .. text)
    assert(reason:match("^statement:1: "), "error without position: " .. reason)
  end
end

m = IntegerToIntegerOrderedMapQZR()
m.value[3] = 9
m.Value[math.maxinteger] = math.mininteger
m.VALUE[6 / 2 - 5] = 2^53
assert(m:value(3) == 9 and m.value[math.maxinteger] == math.mininteger)
assert(math.type(m.value[-2]) == "integer" and m.value[-2] == 1 << 53 and m:cOUNTkEY(3) == 1)

-- Methods without parameters read as values, and may be called all the same, once.
it = m:find(3)
assert(it.Key == 3 and it:Key() == 3 and it.Value == 9 and it:value() == 9)
it.Value = 10
assert(m.value[3] == 10 and m.first:isEqual(m:first()) and m:Clone():Count() == 3)
fails("Key takes no arguments", "it:Key(1)")
fails("attempt to call a number value (local 'x')", "local x, y = m.Count, it.Key; x(m)")

-- Sets of overloads, results, and their absence.
assert(select("#", m:Remove(it)) == 0 and m:Remove(3) == 0 and m.Count == 2 and #m == 2)
assert(IntegerToIntegerOrderedMapQZR(m).Count == 2 and integertointegerorderedmapqzr(m).Count == 2)
assert(m == m:find(-2) == false and m:first() ~= m:first() and m.value ~= m.value)
assert(tostring(m.value):find(".value, a method: object:value(...)", 1, true))

-- pairs goes in key order, and its entry may be removed, but no other that it would come to.
fails("the entry that comes next was removed", "for key in pairs(m) do m:Remove(math.maxinteger) end")
m.value[math.maxinteger] = math.mininteger
for key, value in pairs(m) do
  if value == 1 << 53 then m:Remove(key) end
end
assert(m:Key(0) == math.maxinteger and m.Count == 1)
fails("as in: for key, value in pairs(m) do", "for key in m do end", "for key in m.Keys do end")
fails("has no member 'Count', but IntegerToIntegerOrderedMapQZR has", "local x = #m.first")

-- Host exceptions are values.
local _, exception = pcall(function() return m.value[8] end)
assert(exception.class == "KeyNotFoundException" and exception.message == "Key not found")
assert(exception.errorNumber == 0 and tostring(exception):match(":%d+: KeyNotFoundException: Key not found$"))

-- Mistakes of the script.
local Map = "IntegerToIntegerOrderedMapQZR"
fails("class " .. Map .. " has no member 'Foo'", "local x = m.Foo", "m.Foo = 1")
fails(Map .. " is indexed by member names, not by a number; the entries of a map are in object.value",
      "local x = m[1]", "m[1] = 5")
fails("object:value(...); the entries of a map are in object.value, as in object.value[key]", "m.value(1)")
fails("object:lookup(key) tells whether it has a key", "IntegerHashSetQZR()[1] = true")
fails("call Keys with a colon, as in object:Keys()", "m:Clone().Keys()")
fails(Map .. ".Count is read-only", "m.Count = 1")
fails(Map .. ".find cannot be assigned by index", "m.find[1] = 1")
fails("find with a colon", "m.find(IntegerToIntegerOrderedMapQZR(), 3)")
fails(Map .. ".find: argument 1 must be an Integer, not 2.5", "m:find(2.5)")
fails(Map .. ".value: argument 1 must be an Integer", "m:value(2^63)")
fails(Map .. ".value: the assigned value must be an Integer", "m.value[1] = 0 / 0")
fails(Map .. ".find cannot be called with (String); it takes (key as integer)", "m:find('3')")
fails(Map .. ".value cannot be assigned (String, Integer); it takes (key as integer) = integer", "m.value['3'] = 1")
fails("a function is no host value", "m:find(print)", "Dictionary{}.f = print", "Array{}:append(print)")

-- Arrays and dictionaries.
a = Array { 1, 2, 3 }
a:append(4)
assert(#a == 4 and table.concat(a:totable(), " ") == "1 2 3 4")
for i, v in pairs(a) do assert(v == i + 1) end
assert(Array({ "ä", "b" })[0] == "ä" and #Array({}, "string") == 0)
fails("array index 4 is not in 0 to 3", "a[4] = 1")
fails("no element 4: arrays begin at 0", "local x = a[4]")
fails("no arrays of 'Picture'", "Array({}, 'Picture')")
fails("arrays are indexed by integers", "local x = a[0.5]")
a[0], a[3] = 6 / 2, math.mininteger
assert(math.type(a[0]) == "integer" and a[0] == 3 and a[3] == math.mininteger)
local mixed = Array { 1, "two", true, m }
mixed[0], mixed[3] = nil, Variant.Int32(5)
assert(mixed[0] == nil and mixed[1] == "two" and mixed[2] and mixed[3] == Variant.Int32(5) and #mixed == 4)
local d = Dictionary { one = 1, [2] = "two" }
d.three, d[2], d[Variant.Int32(2)], d[nil] = m, "TWO", "another", "none"
assert(#d == 5 and d.one == 1 and d[2] == "TWO" and d.three == m and d.four == nil and d[2.0] == nil)
assert(d[Variant.Int32(2)] == "another" and d[Variant.Nil] == "none")
for k, v in pairs(d) do assert(d[k] == v) end

-- Maps turn into dictionaries by themselves.
local words = StringToVariantHashMapQZR(d)
assert(words.Count == 4 and words.value[""] == "none" and Dictionary(words).three == m)

-- Variants keep their exact type on their way through a container; so do objects.
local exact, destroyed = VariantToVariantHashMapQZR(), 0
local kinds = {
  Variant.Int32(-1), Variant.UInt32(0xFFFFFFFF), 5, Variant.Int64(-6), Variant.UInt64(-1), Variant.Single(0.5), 2.0,
  Variant.Currency(1.25), true, Variant.Color(0xFF00FF), Variant.Text("5"), "5", m, a, d,
  ScriptObject("Kept", function() destroyed = destroyed + 1 end),
}
for _, kind in ipairs(kinds) do exact.value[kind] = kind end
for key, value in pairs(exact) do assert(key == value and math.type(key) == math.type(value)) end
for i, kind in ipairs(kinds) do assert(exact.value[kind] == kind and exact:hasKey(kind), "kind " .. i) end
local unsigned = exact.value[Variant.UInt64(-1)]
assert(unsigned.type == "UInt64" and unsigned.value == -1 and tostring(unsigned):find("(18446744073709551615)", 1, 1))
assert(tostring(Variant.Text("5")) == 'Variant.Text("5")' and Variant.Text("5") ~= Variant.Text("6"))
assert(Variant.Int32(5) ~= Variant.UInt32(5) and math.type(exact.value[5]) == "integer" and Variant.Int64(5) == 5)
kinds = nil
exact:Clear()
exact.value[nil] = 1
for key in pairs(exact) do assert(key == Variant.Nil and exact:hasKey(key)) end
collectgarbage()
assert(destroyed == 1)
fails("-1 does not fit in Variant.UInt32", "Variant.UInt32(-1)")
fails("Variant.Single takes a number", "Variant.Single(m)")
fails("variants have no member 'foo'", "local x = Variant.Int32(1).foo")

-- Text is one key in whatever encoding it comes.
local texts = StringOrderedSetQZR()
for name, bytes in pairs { ["utf-16le"] = "\xe4\0", ["UTF-32BE"] = "\0\0\0\xe4", MacRoman = "\x8a", ["UTF-8"] = "ä" } do
  texts:insert(String(bytes, name))
end
assert(texts.Count == 1 and texts:Key(0) == "ä" and tostring(String("\xe4", "ISO-8859-1")) == "ä")
assert(String("a\0", "utf-16le") == String("a") and String("a") ~= "a")
fails("there is no encoding 'EBCDIC'; there are ASCII, ", "String('a', 'EBCDIC')")

-- Collections as text, as a script would write them; those in others only by their class, and what has none.
local broken = VariantToVariantHashMapQZR()
assert(tostring(StringHashSetQZR(Array { "a" })) == 'StringHashSetQZR{"a"}')
for i = 1, 21 do broken.value[i] = i end
assert(tostring(broken):find("^VariantToVariantHashMapQZR{.*%[1%] = 1.*, %.%.%.}$"))
assert(not pcall(broken.Constructor, broken, broken))
assert(tostring(broken) == "VariantToVariantHashMapQZR, not initialized")
assert(tostring(Array { "a", 2, 2.0, Variant.Int32(3), Array { 1 } }) == 'Array{"a", 2, 2.0, Variant.Int32(3), Array}')
assert(tostring(Dictionary { a = 1.5 }) == 'Dictionary{["a"] = 1.5}' and tostring(m.first):find("IteratorQZR: "))
assert(Variant.Nil.type == "Nil" and Variant.Nil.value == nil and Variant.Currency(1.23456).value == 1.2346)
fails("variants are made by type, as in Variant.Int32(3); there are Nil, ", "Variant.Foo(3)", "Variant(3)")
fails("does not fit in Variant.Currency", "Variant.Currency(1e15)")

for key, present in pairs(IntegerOrderedSetQZR(Array { 3 })) do assert(key == 3 and present == true) end

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
fails("a destructor must be a function", "ScriptObject('Noisy', 1)")
fails("the class name Array is taken", "ScriptObject('Array')")

print("end of console_test.lua")
