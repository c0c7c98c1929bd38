-- What the checker of examples in the host's language finds wrong, and what it lets pass.

local here = arg[0]:match("^(.*/)") or ""
local parse = dofile(here .. "host_language.lua")
local types = dofile(here .. "host_types.lua").new(Classes())
local Checker = dofile(here .. "host_checker.lua")

local setup = [[
Var m As New IntegerToStringOrderedMapQZR
Var it As IntegerToStringOrderedMapIteratorQZR = m.first
]]
local function check(text) return pcall(function() Checker.new(types):run(parse(setup .. text)) end) end

for _, text in ipairs {
  'm.value(3) = "x" + m.lookup(4, "") // assigned by key',
  "m.Clear()\nCall m.Remove(it)\nm.Remove it\nm.Remove(m.first, m.last)",
  "Var h As New IntegerToStringHashMapQZR(m) ' converts itself\nVar d As Dictionary = m",
  "If m.hasKey(1) And Not m.Empty Then Return\nVar n As Integer = -m.Count * 2 Mod 3",
  "Try\n  it.MoveNext\nCatch e As OutOfBoundsException\n  System.DebugLog(e.Message)\nEnd Try",
  "Function F(k() As Integer, _\n  n As Integer) As Integer\n  Return k(n)\nEnd Function\nVar x As Integer = F(m.Keys, 0)",
  'For Each k As Integer In m.Keys\n  For i As Integer = k DownTo 1\n    m.value(i) = "say ""hello"""\n  Next\nNext',
  "Var v As New VariantHashSetQZR\nv.insert(m)\nv.insert(1.5)\nv.insert(Nil)\nVar o As New StringHashSetQZR(False)",
} do
  local done, fault = check(text)
  assert(done, text .. "\n: " .. (type(fault) == "table" and fault.message or tostring(fault)))
end

for text, message in pairs {
  ["Var x As New IntegerToStringMapQZR"] = "no class 'IntegerToStringMapQZR'",
  ["m.Add(3)"] = "has no member 'Add'",
  ["m.HasKey(3)"] = "is spelled 'hasKey'",
  ["Var b As Boolean = m.hasKey"] = "does not take ()",
  ["Var b As Boolean = m.hasKey(\"3\")"] = "does not take (string)",
  ["Var b As Boolean = m.hasKey(1, 2)"] = "does not take (integer, integer)",
  ["m.Remove(3)"] = "the result of Remove is dropped",
  ["Var v As Variant = 3\nCall m.Remove(v)"] = "has more than one overload for (variant)",
  ["m.Count"] = "the result of Count is dropped",
  ["Var n As Integer = m.Clear"] = "Clear returns no value",
  ["Var n As Integer = m.value(1)"] = "the value is string, and integer is wanted",
  ["m.value(1) = 2"] = "the value is integer, and string is wanted",
  ["m.Count = 2"] = "cannot be assigned",
  ["m.lookup(1, \"\") = \"x\""] = "cannot be assigned",
  ["Var i As IntegerToStringHashMapIteratorQZR = m.first"] = "integertostringhashmapiteratorqzr is wanted",
  ["Var h As New IntegerToStringHashMapQZR\nh.LowerBound(1).MoveNext"] = "has no member 'LowerBound'",
  ["While it\nWend"] = "boolean is wanted",
  ["If m.Count Then\nEnd If"] = "boolean is wanted",
  ["Var m As Integer"] = "declared twice",
  ["x = 1"] = "no variable 'x'",
  ["For i As Integer = 0 To 3\n  it.MoveNext"] = "'Next' is wanted",
  ["m.value[3] = \"x\""] = "nothing begins with '['",
  ["Var it2 As New IntegerToStringOrderedMapIteratorQZR\nit2.Key = 3"] = "is not made with New",
} do
  local done, fault = check(text)
  assert(not done, "no fault in " .. text)
  fault = type(fault) == "table" and fault.message or tostring(fault)
  assert(fault:find(message, 1, true), text .. "\n: " .. fault .. "\nexpected: " .. message)
end
print("end of checker_test.lua")
