-- What the examples in the host's language may use: the classes that the library registered, and as much of the
-- language's own types as the documents need.
--
-- A type is a table: `members` by lower-case name, each a list of overloads {types, required, result, assignable}, and
-- `create`, the overloads of its constructor. Types' names are lower-case; an array's ends in "()".

local Types = {}
Types.__index = Types

-- "Split(string) as string()": an overload; parameters behind a "|" may be left out.
local function overload(text)
  local name, parameters, rest = text:match("^(%w+)%(([^()]*[^ ]*)%)(.*)$")
  if not name then name, parameters, rest = text:match("^(%w+)"), "", text:match("^%w+(.*)$") end
  local types, required = {}, nil
  for separator, type in ("," .. parameters):gmatch("([,|])%s*([%w()]+)") do
    if separator == "|" then required = required or #types end
    types[#types + 1] = type
  end
  return name, { types = types, required = required or #types, result = rest:match("as ([%w()]+)"),
                 assignable = rest:find("assignable") ~= nil }
end

local function define(members, create)
  local type = { members = {}, create = create }
  for _, text in ipairs(members) do
    local name, found = overload(text)
    type.members[name:lower()] = type.members[name:lower()] or {}
    table.insert(type.members[name:lower()], found)
  end
  return type
end

local exception = { "Message as string", "ErrorNumber as integer" }

local own = {
  integer = define { "ToString as string" },
  double = define { "ToString as string" },
  boolean = define { "ToString as string" },
  string = define { "Split(string) as string()", "Trim as string", "Lowercase as string", "Uppercase as string",
                    "Length as integer", "ToInteger as integer", "ToDouble as double", "IsEmpty as boolean",
                    "Left(integer) as string", "Middle(integer|integer) as string",
                    "IndexOf(string) as integer", "ReplaceAll(string, string) as string",
                    "DefineEncoding(textencoding) as string" },
  variant = define { "StringValue as string", "IntegerValue as integer", "DoubleValue as double",
                     "BooleanValue as boolean", "ObjectValue as object", "IsNull as boolean" },
  object = define {},
  textencoding = define {},
  dictionary = define({ "Value(variant) as variant assignable", "HasKey(variant) as boolean", "KeyCount as integer",
                        "Lookup(variant, variant) as variant", "Keys as variant()", "Values as variant()",
                        "Remove(variant)", "RemoveAll" }, { { types = {}, required = 0 } }),
  runtimeexception = define(exception),
}
for _, name in ipairs { "KeyNotFoundException", "NilObjectException", "OutOfBoundsException", "OutOfMemoryException" } do
  own[name:lower()] = define(exception)
end

-- What stands ahead of a dot and is no value.
local modules = {
  system = define { "DebugLog(string)" },
  encodings = define { "UTF8 as textencoding", "WindowsLatin1 as textencoding", "ISOLatin1 as textencoding" },
  string = define { "FromArray(string()|string) as string" },
}

local functions = define { "Max(integer, integer) as integer", "Min(integer, integer) as integer",
                           "Microseconds as double", "Chr(integer) as string" }

function Types.new(classes)
  local self = setmetatable({ byName = {}, modules = modules, functions = functions.members }, Types)
  for name, type in pairs(own) do self.byName[name] = type end
  for _, class in ipairs(classes) do
    local type = { members = {}, name = class.name }
    for _, property in ipairs(class.properties) do
      type.members[property.name:lower()] = { { name = property.name, types = {}, required = 0, result = property.type:lower() } }
    end
    for _, method in ipairs(class.methods) do
      local types = {}
      for i, name in ipairs(method.types) do types[i] = name:lower() end
      local found = { name = method.name, types = types, required = method.required, result = method.result and method.result:lower(),
                      assignable = method.assignable }
      if method.name == "Constructor" then
        type.create = type.create or {}
        table.insert(type.create, found)
      end
      local key = method.name:lower()
      type.members[key] = type.members[key] or {}
      table.insert(type.members[key], found)
    end
    self.byName[class.name:lower()] = type
  end
  return self
end

-- The type of that name; nil when there is none.
function Types:find(name)
  name = name:lower()
  local found = self.byName[name]
  if found or name:sub(-2) ~= "()" or not self:find(name:sub(1, -3)) then return found end
  local element = name:sub(1, -3)
  found = define { "Add(" .. element .. ")", "Count as integer", "LastIndex as integer", "RemoveAll", "Sort",
                   "RemoveAt(integer)", "IndexOf(" .. element .. ") as integer" }
  found.element = element
  self.byName[name] = found
  return found
end

local plain = { integer = true, double = true, string = true, boolean = true, variant = true }

-- Whether a value of one type may stand where another is wanted. "nil" is the type of Nil.
function Types:fits(given, wanted)
  if given == wanted or wanted == "variant" or given == "variant" then return true end
  if given == "nil" then return not plain[wanted] end
  if wanted == "double" then return given == "integer" end
  if wanted == "object" then return not plain[given] and given:sub(-2) ~= "()" end
  if wanted == "runtimeexception" then return given:sub(-9) == "exception" end
  local conversion = self:find(given) and self:find(given).members["operator_convert"]
  return conversion ~= nil and conversion[1].result == wanted
end

return Types
