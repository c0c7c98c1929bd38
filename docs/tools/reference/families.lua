-- The pages of the reference: which classes each is about, what they share, and what its examples start from.

-- Of the objects that hold no container.
local emptyMap = [[
An object whose copying failed holds no container; see [Constructor(other)](#constructorother). Its members raise
NilObjectException "Map not initialized" until a constructor is run on it again. Only access by index does not: it reads
the last snapshot if there is one (see [Keys](#keys)), and else returns Nil or 0.]]

local emptySet = [[
An object that no constructor was run on holds no container. Its members raise NilObjectException "Set not initialized";
only `Keys` and `Key(index)` return Nil or 0, and `Remove(pos)` and `Remove(first, last)` do nothing.]]

local integers = [[
Keys are 64-bit Integers with a sign, and -3 comes before 2. An ordered $container is for walks in order, for ranges and
for what is nearest to a number; a hash $container finds a key faster, and has no order.]]

local strings = [[
Every object chooses, when it is constructed, whether its keys are case-sensitive; `CaseSensitive` tells. A key that
is there already keeps the letters it was first given. The nil String is the same key as the empty one.

**Case-sensitively** two Strings are one key when they are the same characters, in whatever encodings they came. They
are in the order of their code points: Z before a, and ä after z. An é that is one character and an é that is an e with
an accent behind it are different keys, so texts from different sources are best brought to one form first. A zero
character ends what ordered classes compare: Strings that differ only behind one are one key there, and two keys of a
hash class.

**Case-insensitively** the host's own comparison decides which Strings are one key, and their order. A hash class goes
by a hash of its own besides, which folds letters one by one. So where the host's comparison takes "Straße" and
"STRASSE" for equal, as the stand-in's does, they are one key of an ordered class and two keys of a hash class; the same
goes for ligatures, and for letters outside the 16-bit range. **Text whose bytes are not of the encoding that it claims**
can become one key with another such text, and one value is lost: see
[what loses data](README.md#what-loses-data).]]

local variants = [[
Variants of different types are different keys: the Integer 1, the Double 1.0 and the String "1" are three, and so are
an Int32, an Int64 and an unsigned 1, a Single and a Double, a Currency, or a Text and a String. Objects are the same
key when they are the same object. Nil is a key. Keys that hold text follow the object's choice of case, and the rules
for [String keys](string-$containers.md).]]

local mixedOrder = [[

**Keys of one type only.** Keys of one type are in the order of their values. Between types the order is that of the
Variants' addresses, which is none: an ordered class with keys of several types misses keys that it holds, and takes
one twice. **No NaN either:** it is neither less nor greater than any other number of its type, so it passes for the
same key as every one that it is compared with. Put in first, it takes the place of all of them; put in later, that of
one. For keys of several types, and where a number may be NaN, use the hash class.]]

local variantHash = [[
Keys of any types go together. NaN equals no key, itself included: every NaN is an entry of its own, which only a walk
reaches, or the very Variant object that was stored.]]

local hash = [[
A hash table. Entries are visited in the order of the table's chain: the same for the same history of changes, and
otherwise not to be relied on.]]

-- Words of the examples: three keys, one that is absent, one between the first two, one behind all in the order of the
-- walk, classes, and types.
local function words(container, variable, class, hashClass, types, keys)
  return {
    container = container, m = variable, Class = class, Hash = hashClass,
    Iterator = class == "VariantToVariantOrderedMapQZR" and "VariantToVariantMapIteratorQZR"
      or class:gsub("QZR$", "IteratorQZR"),
    key = types.key, value = types.value, keyText = types.text,
    a = keys[1], b = keys[2], c = keys[3], absent = keys.absent, between = keys.between, beyond = keys.beyond,
    containers = container == "map" and "maps" or "sets",
    hashSource = container == "map" and "m.CloneDictionary" or "s.Keys",
    hashSourceLua = container == "map" and "m:CloneDictionary()" or "s.Keys",
  }
end
local function mapWords(key, value, text, keys)
  return words("map", "m", key .. "To" .. value .. "OrderedMapQZR", key .. "To" .. value .. "HashMapQZR",
               { key = key, value = value, text = text }, keys)
end
local function setWords(key, text, keys)
  return words("set", "s", key .. "OrderedSetQZR", key .. "HashSetQZR", { key = key, text = text }, keys)
end
local function numbers(beyond) return { "10", "20", "30", between = "15", absent = "99", beyond = beyond } end
local function letters(beyond) return { '"b"', '"d"', '"f"', between = '"c"', absent = '"z"', beyond = beyond } end

local mapSetup = {
  { "Var m As New $Class", "m = $Class()" }, { 'm.value($a) = "one"', 'm.value[$a] = "one"' },
  { 'm.value($b) = "two"', 'm.value[$b] = "two"' }, { 'm.value($c) = "three"', 'm.value[$c] = "three"' },
}
local setSetup = {
  { "Var s As New $Class", "s = $Class()" }, { "s.insert($c)", "s:insert($c)" }, { "s.insert($a)", "s:insert($a)" },
  { "s.insert($b)", "s:insert($b)" },
}

return {
  {
    file = "integer-maps.md", title = "Maps with Integer keys", label = "Integer maps",
    classes = "^IntegerTo.*Map", map = true,
    intro = "Maps from Integers to Integers, Strings or Variants. Each key has one value.\n\n" .. integers,
    without = emptyMap,
    ordered = "Entries run from the smallest key to the greatest.", hash = hash,
    words = mapWords("Integer", "String", "it.Key.ToString", numbers("99")), setup = mapSetup,
  },
  {
    file = "string-maps.md", title = "Maps with String keys", label = "String maps",
    classes = "^StringTo.*Map", map = true, text = true,
    intro = "Maps from Strings to Strings or Variants. Each key has one value.\n\n" .. strings, without = emptyMap,
    ordered = "Entries run **from the greatest key to the smallest**.", hash = hash,
    words = mapWords("String", "String", "it.Key", letters('"a"')), setup = mapSetup, descending = true,
  },
  {
    file = "variant-maps.md", title = "Maps with Variant keys", label = "Variant maps",
    classes = "^VariantTo.*Map", map = true, text = true,
    intro = "Maps from Variants to Variants. Each key has one value.\n\n" .. variants, without = emptyMap,
    ordered = "Entries run **from the greatest key to the smallest**; Nil comes last.\n" .. mixedOrder,
    hash = hash .. " " .. variantHash,
    words = mapWords("Variant", "Variant", "it.Key.StringValue", numbers("5")), setup = mapSetup, descending = true,
  },
  {
    file = "integer-sets.md", title = "Sets of Integers", label = "Integer sets",
    classes = "^Integer%u%l+Set",
    intro = "Each Integer is in a set once or not at all.\n\n" .. integers, without = emptySet,
    ordered = "Keys run from the smallest to the greatest.", hash = hash,
    words = setWords("Integer", "it.Key.ToString", numbers("99")), setup = setSetup,
  },
  {
    file = "string-sets.md", title = "Sets of Strings", label = "String sets",
    classes = "^String%u%l+Set", text = true,
    intro = "Each String is in a set once or not at all.\n\n" .. strings, without = emptySet,
    ordered = "Keys run from the smallest to the greatest, **the other way round than in maps**.", hash = hash,
    words = setWords("String", "it.Key", letters('"z"')), setup = setSetup,
  },
  {
    file = "variant-sets.md", title = "Sets of Variants", label = "Variant sets",
    classes = "^Variant%u%l+Set", text = true,
    intro = "Each Variant is in a set once or not at all.\n\n" .. variants, without = emptySet,
    ordered = "Keys run from the smallest to the greatest, **the other way round than in maps**; Nil comes first.\n"
      .. mixedOrder,
    hash = hash .. " " .. variantHash, words = setWords("Variant", "it.Key.StringValue", numbers("99")),
    setup = setSetup,
  },
}
