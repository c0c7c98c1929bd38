-- What the checker of examples in the host's language finds. What it lets pass are the documents' examples.

local Checker = dofile(arg[0]:match("^(.*/)") .. "host_checker.lua")

local setup = [[
Var m As New IntegerToStringOrderedMapQZR
Var it As IntegerToStringOrderedMapIteratorQZR = m.first
]]
for text, wanted in pairs {
  ["Var x As New IntegerToStringMapQZR"] = "there is no type 'IntegerToStringMapQZR'",
  ["it = New IntegerToStringOrderedMapIteratorQZR"] = "is not made with New",
  ["m.first.HasKey(3)"] = "has no member 'HasKey'",
  ["m.HasKey(3)"] = "is spelled 'hasKey'",
  ["Var n As Integer = m.Count + k"] = "there is no 'k'",
  ["Var b As Boolean = m.hasKey"] = "does not take ()",
  ["Var b As Boolean = m.hasKey(1, 2)"] = "does not take (integer, integer)",
  ["Sub F(n As Integer)\nEnd Sub\nF()"] = "F does not take ()",
  ['Var b As Boolean = m.hasKey("3")'] = "does not take (string)",
  ['If m.hasKey(1) And m.hasKey("3" + it.Value) Then Return'] = "does not take (string)",
  ["m.value(Nil) = it.Value"] = "does not take (nil)",
  ["Var k As Integer = m.Keys(it.Value)"] = "Keys does not take (string)",
  ["Var h As New IntegerToStringHashMapQZR\nm.Remove(h.first)"] = "not take (integertostringhashmapiteratorqzr)",
  ["it = m.Clear"] = "integertostringorderedmapiteratorqzr is wanted, not nothing",
  ["m.value(1) = 2"] = "string is wanted, not integer",
  ["For Each k As String In m.Keys"] = "string() is wanted, not integer()",
  ["Function F() As String\n  Return m"] = "there is no 'm'",
  ["m.value[3] = 1"] = "nothing begins with '['",
} do
  local _, fault = pcall(Checker.run, Checker.new(), setup .. text)
  assert(type(fault) == "table" and fault.line > 2 and fault.message:find(wanted, 1, true),
         ("%s\n: %s\nexpected: %s"):format(text, type(fault) == "table" and fault.message or fault, wanted))
end
print("end of checker_test.lua")
