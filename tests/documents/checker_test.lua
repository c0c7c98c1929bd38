-- What the checker of examples in the host's language lets pass, and what it finds.

local here = arg[0]:match("^(.*/)") or ""
local parse = dofile(here .. "host_language.lua")
local types = dofile(here .. "host_types.lua").new(Classes())
local Checker = dofile(here .. "host_checker.lua")

local setup = [[
Var m As New IntegerToStringOrderedMapQZR
Var it As IntegerToStringOrderedMapIteratorQZR = m.first
]]
-- What is found in the text and not in the lines ahead of it.
local function faultOf(text)
  local done, fault = pcall(function() Checker.new(types):run(parse(setup .. text)) end)
  if done then return "no fault" end
  return type(fault) == "table" and fault.line > 2 and fault.message or tostring(fault)
end

for text, fault in pairs {
  ['m.value(3) = "x" + m.lookup(-1, "")\nm.Clear()\nCall m.Remove(3)\nm.Remove(m.first, it)'] = "no fault",
  ["Var h As New IntegerToStringHashMapQZR(m) ' converts itself\nVar d As Dictionary = m"] = "no fault",
  ["If m.hasKey(1) And Not m.Empty Then Return\nVar n As Integer = -m.Count * 2 Mod 3"] = "no fault",
  ["Do Until m.Empty // ends\n  Exit Do\nLoop\nTry\n  it.MoveNext\nCatch e As OutOfBoundsException\nEnd Try"] = "no fault",
  ["Function F(k() As Integer, _\n  n As Integer) As Integer\n  Return k(n)\nEnd Function\n"
    .. "Var x As Integer = F(m.Keys, 0)"] = "no fault",
  ['For Each k As Integer In m.Keys\n  m.value(k) = "say ""hello"""\nNext'] = "no fault",
  ["Var v As New VariantHashSetQZR(False)\nv.insert(1.5)\nv.insert(Nil)\nv.Remove(v.find(m))"] = "no fault",

  ["Var x As New IntegerToStringMapQZR"] = "there is no type 'IntegerToStringMapQZR'",
  ["it = New IntegerToStringOrderedMapIteratorQZR"] = "is not made with New",
  ["m.Add(3)"] = "has no member 'Add'",
  ["m.first.HasKey(3)"] = "has no member 'HasKey'",
  ["m.HasKey(3)"] = "is spelled 'hasKey'",
  ["Var n As Integer = m.Count + k"] = "there is no 'k'",
  ["Var b As Boolean = m.hasKey"] = "does not take ()",
  ["Var b As Boolean = m.hasKey(1, 2)"] = "does not take (integer, integer)",
  ["Sub F(n As Integer)\nEnd Sub\nF()"] = "F does not take ()",
  ['Var b As Boolean = m.hasKey("3")'] = "does not take (string)",
  ["Var h As New IntegerToStringHashMapQZR\nm.Remove(h.first)"] = "not take (integertostringhashmapiteratorqzr)",
  ["it = m.Clear"] = "the value is nothing, and integertostringorderedmapiteratorqzr is wanted",
  ["Var n As Integer = m.value(1)"] = "the value is string, and integer is wanted",
  ["m.value(1) = 2"] = "the value is integer, and string is wanted",
  ["While m.Count + 1\nWend"] = "the condition is integer, and boolean is wanted",
  ["For Each k As String In m.Keys"] = "is integer(), and string() is wanted",
  ["Function F() As String\n  Return m"] = "there is no 'm'",
  ["If m.Count = it.Value Then Return"] = "integer and string do not go together with '='",
  ["m.Remove(3)"] = "the result of Remove is dropped",
  ['m.lookup(1, "") = "x"'] = "lookup cannot be assigned",
  ["m.value[3] = 1"] = "nothing begins with '['",
} do
  local found = faultOf(text)
  assert(found:find(fault, 1, true), text .. "\n: " .. found .. "\nexpected: " .. fault)
end
print("end of checker_test.lua")
