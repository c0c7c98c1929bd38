-- The pages of the reference: which classes each is about, what they share, which example it quotes, and what its
-- own examples start from.

local common = [[
An object whose copying failed holds no container; see [Constructor(other)](#constructorother). Its members raise
NilObjectException "Map not initialized". Only access by index does not: it answers from its last snapshot if it has
one (see [Keys](#keys)), and else nil or 0.]]

local commonSet = [[
On an object that no constructor was run on, members raise NilObjectException "Set not initialized"; only `Keys`
and `Key(index)` answer nil or 0, and `Remove(pos)` and `Remove(first, last)` do nothing.]]

local strings = [[
Every object chooses, when it is constructed, whether its keys are case-sensitive; `CaseSensitive` tells. Two
Strings are the same case-sensitive key when they are the same text up to the first zero character, in whatever
encodings they came. Case-insensitively the host's own comparison decides. A key that is there already keeps the
letters it was first given. Case-sensitive text is in the order of its code points: Z before a, and ä after z. The
nil String is the same key as the empty one.]]

local variants = [[
Variants of different types are different keys: the Integer 1, the Double 1.0 and the String "1" are three, and so are
an Int32, an Int64 and an unsigned 1, a Single and a Double, a Currency, or a Text and a String. Objects are the same
key when they are the same object. Nil is a key. Keys that hold text follow the object's choice: see
`CaseSensitive`.]]

local mixedOrder = [[
Keys of one type are in the order of their values. Between types the order is that of the Variants' addresses, so
it differs from run to run, and with types mixed a walk does not reliably visit each type's keys in their order,
nor does `find` reliably find them. NaN must not be a key: it is neither less nor greater than any other number of
its type, and so passes for the same key as one of them. Use a hash class for such keys.]]

local variantHash = [[
NaN equals no key, itself included: every NaN is an entry of its own, which only a walk reaches, or the very Variant
object that was stored.]]

local hash = [[
A hash table. Entries are visited in the order of the table's chain: the same for the same history of changes, and
otherwise nothing to build on.]]

-- Words of the examples: three keys, one that is absent, classes, and types as arrays name them.
local function mapWords(key, value, a, b, c, absent)
  local hashClass = key .. "To" .. value .. "HashMapQZR"
  return { container = "map", m = "m", Class = key .. "To" .. value .. "OrderedMapQZR", Hash = hashClass, key = key,
           value = value, a = a, b = b, c = c, absent = absent, filled = hashClass .. "(Dictionary(m))" }
end
local function setWords(key, array, a, b, c, absent)
  local hashClass = key .. "HashSetQZR"
  return { container = "set", m = "s", Class = key .. "OrderedSetQZR", Hash = hashClass, key = key, array = array,
           a = a, b = b, c = c, absent = absent, filled = hashClass .. "(" .. array .. ")" }
end

local mapSetup = { "m = $Class()", 'm.value[$a], m.value[$b], m.value[$c] = "one", "two", "three"' }

return {
  {
    file = "integer-maps.md", title = "Maps with Integer keys", classes = "^IntegerTo.*Map", map = true,
    quote = { file = "line_lengths.lua", from = "-- What is above the limit", to = "if above > 0" },
    intro = "Maps from Integers to Integers, Strings or Variants.\n\n" .. common,
    ordered = "Entries run from the smallest key to the greatest.", hash = hash,
    words = mapWords("Integer", "String", "1", "2", "3", "9"), setup = mapSetup,
  },
  {
    file = "string-maps.md", title = "Maps with String keys", classes = "^StringTo.*Map", map = true, text = true,
    quote = { file = "word_index.lua", from = "local places", to = "end" },
    intro = "Maps from Strings to Strings or Variants.\n\n" .. strings .. "\n\n" .. common,
    ordered = "Entries run **from the greatest key to the smallest**.", hash = hash,
    words = mapWords("String", "String", '"a"', '"b"', '"c"', '"z"'), setup = mapSetup, descending = true,
  },
  {
    file = "variant-maps.md", title = "Maps with Variant keys", classes = "^VariantTo.*Map", map = true, text = true,
    quote = { file = "log_report.lua", from = "local statuses", to = "local function count" },
    intro = "Maps from Variants to Variants.\n\n" .. variants .. "\n\n" .. common,
    ordered = "Entries run **from the greatest key to the smallest**; Nil comes last. " .. mixedOrder,
    hash = hash .. " " .. variantHash,
    words = mapWords("Variant", "Variant", "1", "2", "3", "9"), setup = mapSetup, descending = true,
  },
  {
    file = "integer-sets.md", title = "Sets of Integers", classes = "^Integer%u%l+Set",
    quote = { file = "numbers.lua", from = "-- What one list has", to = "for member in pairs(absent)" },
    intro = "Each Integer is in a set once or not at all.\n\n" .. commonSet,
    ordered = "Keys run from the smallest to the greatest.", hash = hash,
    words = setWords("Integer", "Array{3, 1, 2, 1}", "1", "2", "3", "9"), setup = { "s = $Class($array)" },
  },
  {
    file = "string-sets.md", title = "Sets of Strings", classes = "^String%u%l+Set", text = true,
    quote = { file = "word_index.lua", from = "-- A hash map keeps no order", to = "end" },
    intro = "Each String is in a set once or not at all.\n\n" .. strings .. "\n\n" .. commonSet,
    ordered = "Keys run from the smallest to the greatest, **the other way round than in maps**.", hash = hash,
    words = setWords("String", 'Array{"c", "a", "b", "a"}', '"a"', '"b"', '"c"', '"z"'), setup = { "s = $Class($array)" },
  },
  {
    file = "variant-sets.md", title = "Sets of Variants", classes = "^Variant%u%l+Set", text = true, variants = true,
    quote = { file = "log_report.lua", from = "local known", to = "for status in pairs(known)" },
    intro = "Each Variant is in a set once or not at all.\n\n" .. variants .. "\n\n" .. commonSet,
    ordered = "Keys run from the smallest to the greatest, **the other way round than in maps**; Nil comes first. "
      .. mixedOrder,
    hash = hash .. " " .. variantHash, words = setWords("Variant", 'Array({3, 1, 2, 1}, "Variant")', "1", "2", "3", "9"),
    setup = { "s = $Class($array)" },
  },
}
