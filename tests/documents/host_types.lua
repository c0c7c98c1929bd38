-- What the examples in the host's language may use: the classes that the library registered, and as much of the
-- language's own types as the documents need.
--
-- Types are known by lower-case names; an array's ends in "()". A type has a `name` for messages and `members`, by
-- lower-case names too, each a list of overloads {name, types, required, result, assignable}. What a method without a
-- result answers is of the type "nothing".

local Types = {}
Types.__index = Types

-- Behind a member's parameters stand its result and, when it can be assigned, "=". What begins with a dot is no type
-- but stands ahead of a dot itself; what stands alone in expressions is a member of ".".
local own = {
  integer = "ToString() string", double = "ToString() string", boolean = "ToString() string",
  string = [[Split(string) string(); Length() integer; ToInteger() integer; Left(integer) string;
    Middle(integer) string; IndexOf(string) integer; ReplaceAll(string, string) string;
    DefineEncoding(textencoding) string]],
  variant = "StringValue() string; IntegerValue() integer; DoubleValue() double; IsNull() boolean",
  dictionary = "Constructor(); Value(variant) variant =; HasKey(variant) boolean; KeyCount() integer",
  textencoding = "",
  [".encodings"] = "UTF8() textencoding; WindowsLatin1() textencoding; ISOLatin1() textencoding",
  [".system"] = "DebugLog(string)", ["."] = "Chr(integer) string",
}
for name in ("runtime keynotfound nilobject outofbounds"):gmatch("%a+") do own[name .. "exception"] = "Message() string" end
local ofArray = "Add(E); Count() integer; LastIndex() integer; IndexOf(E) integer"

local function add(type, name, types, required, result, assignable)
  for i, each in ipairs(types) do types[i] = each:lower() end
  local overloads = type.members[name:lower()] or {}
  type.members[name:lower()] = overloads
  table.insert(overloads, { name = name, types = types, required = required, assignable = assignable,
                            result = result and result:lower() or "nothing" })
end

function Types:define(name, declarations)
  local type = { name = name, members = {} }
  for member, parameters, result, assignable in declarations:gmatch("(%w+)(%b()) ?([%a()]*) ?(=?)") do
    local types = {}
    for each in parameters:sub(2, -2):gmatch("[^%s,]+") do table.insert(types, each) end
    add(type, member, types, #types, result ~= "" and result or nil, assignable ~= "")
  end
  self.byName[name:lower()] = type
  return type
end

function Types.new(classes)
  local self = setmetatable({ byName = {} }, Types)
  for name, declarations in pairs(own) do self:define(name, declarations) end
  for _, class in ipairs(classes) do
    local type = self:define(class.name, "")
    for _, property in ipairs(class.properties) do add(type, property.name, {}, 0, property.type) end
    for _, method in ipairs(class.methods) do
      add(type, method.name, { table.unpack(method.types) }, method.required, method.result, method.assignable)
    end
  end
  return self
end

-- The type of that name; nil when there is none.
function Types:find(name)
  local element = name:lower():match("^(.+)%(%)$")
  if not element or self.byName[name:lower()] or not self:find(element) then return self.byName[name:lower()] end
  local array = self:define(name, (ofArray:gsub("E([,)])", element .. "%1")))
  array.element = element
  return array
end

local plain = { integer = true, double = true, string = true, boolean = true }

-- Whether a value of one type may stand where another is wanted. "nil" is the type of Nil.
function Types:fits(given, wanted)
  if given == "nothing" then return false end
  if given == wanted or wanted == "variant" or given == "variant" then return true end
  if given == "nil" then return not plain[wanted] end
  if wanted == "double" then return given == "integer" end
  local conversion = self:find(given).members.operator_convert
  return conversion ~= nil and conversion[1].result == wanted
end

return Types
