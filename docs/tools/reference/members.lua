-- What each member does, in the order in which a reader needs it. Overloads are told apart by their parameters' names;
-- descriptions hold for all classes of a page, and say where ordered and hash classes differ. A text is a string or a
-- function of the page's family. An example is lines, each in the host's language and in the console's; $m, $a, ...
-- stand for the page's words (families.lua).

local keyCost = "ordered: logarithmic. Hash: constant on average."
local snapshot = "\n\nDrops the snapshot that index access reads (see [Keys](#keys))."
local ofIterators = [[
RuntimeException "Iterator is no longer valid" when the entry was removed or its container cleared, constructed
again or destroyed; RuntimeException "Iterator belongs to another container";]] .. " "
local stale = [[
OutOfBoundsException "Iterator is at the end position" at `last`; RuntimeException "Iterator is no longer valid"
when the entry was removed or its container cleared, constructed again or destroyed]]
local withoutPosition = "[an iterator without a position](README.md#iterators-without-a-position)"
local uninitialized = [[; NilObjectException "Iterator not initialized" for ]] .. withoutPosition .. "."
local staleStep = function(family) return stale .. (family.map and uninitialized or ".") end
local unmoved = function(family)
  return " When it raises, the iterator stays where it was."
    .. (family.map and "" or " With " .. withoutPosition .. " it does nothing.")
end

local function comparisonRaises(message)
  return ('NilObjectException "%s" where `other` is Nil, and for '):format(message) .. withoutPosition
    .. "; as `other`, such an iterator is equal to none."
end

local making = {
  {
    name = "Constructor()", text = "An empty $container.",
    example = { { "Var empty As New $Class", "empty = $Class()" }, { "Var n As Integer = empty.Count", "empty.Count" } },
  },
  {
    name = "Constructor(CaseSensitive)",
    text = [[An empty $container. `CaseSensitive` defaults to True. It is chosen for the life of the object: only a
constructor that is run again changes it, and empties the $container.]],
    example = {
      { "Var anyCase As New $Class(False)", "anyCase = $Class(false)" },
      { "Var exact As Boolean = anyCase.CaseSensitive", "anyCase.CaseSensitive" },
    },
  },
  {
    name = "Constructor(Keys)",
    text = function(family)
      return "A set of the elements of an array. Of equal elements, the first is kept."
        .. (family.text and " **The set is case-sensitive**, always; for one that is not, construct it with False and"
          .. " [insert](#insertkey) the elements." or "")
    end,
    cost = "as many insertions as the array has elements.",
    raises = [[NilObjectException "values array is nil", and the object stays as it was.]],
    example = {
      { "Var list() As $key", 'list = Array({}, "$key")' },
      { "list.Add($b)", "list:append($b)" }, { "list.Add($a)", "list:append($a)" }, { "list.Add($b)", "list:append($b)" },
      { "Var unique As New $Class(list)", "unique = $Class(list)" },
      { "Var keys() As $key = unique.Keys", "unique.Keys" },
      { "Var none() As $key = Nil" }, { "Var failed As New $Class(none)", "$Class(nil)" },
    },
  },
  {
    name = "CaseSensitive",
    text = [[Whether keys that differ only in letter case are different keys. Chosen when the object is constructed.
Which letters are the same is the host's decision.]],
    cost = "constant.",
    example = { { "Var exact As Boolean = $m.CaseSensitive", "$m.CaseSensitive" } },
  },
}

local byKey = {
  {
    name = "value(key)",
    text = [[Reads or assigns the value of a key. Assigning adds the entry where there is none; where there is one,
its key stays as it is. **Reading an absent key raises;** where a key may be absent, use
[lookup](#lookupkey-defaultvalue).

Assigning drops the snapshot that index access reads (see [Keys](#keys)).]],
    cost = keyCost,
    raises = [[KeyNotFoundException "Key not found" on reading an absent key.]],
    example = function(family)
      local lines = {
        { '$m.value($absent) = "new"', '$m.value[$absent] = "new"' },
        { "Var v As $value = $m.value($absent)", "$m.value[$absent]" },
        { "Call $m.Remove($absent)", "$m:Remove($absent)" },
        { "v = $m.value($absent)", "$m.value[$absent]" },
      }
      if family.text then
        for _, line in ipairs {
          { "Var i As New $Class(False)", "i = $Class(false)" },
          { 'i.value("Ab") = "first"', 'i.value["Ab"] = "first"' },
          { 'i.value("AB") = "second"', 'i.value["AB"] = "second"' },
          { "Var d As Dictionary = i.CloneDictionary", "i:CloneDictionary()" },
        } do lines[#lines + 1] = line end
      end
      return lines
    end,
  },
  {
    name = "insert(key)",
    text = function(family)
      return "Adds a key, unless it is there already" .. (family.text and "; then the set keeps the one it has" or "")
        .. ". Whether it was there, [lookup](#lookupkey) tells beforehand." .. snapshot
        .. " Also when nothing was added."
    end,
    cost = keyCost,
    example = {
      { "$m.insert($absent)", "$m:insert($absent)" }, { "$m.insert($absent)", "$m:insert($absent)" },
      { "Var n As Integer = $m.Count", "$m.Count" },
    },
  },
  {
    name = "lookup(key, defaultvalue)",
    text = "The value of a key, or `defaultvalue` where the key has no entry. Never changes the map, never raises.",
    cost = keyCost,
    example = {
      { 'Var found As $value = $m.lookup($a, "none")', '$m:lookup($a, "none")' },
      { 'Var absent As $value = $m.lookup($absent, "none")', '$m:lookup($absent, "none")' },
    },
  },
  {
    name = "lookup(key)", text = "Whether the key is in the set: what `hasKey` is for maps.", cost = keyCost,
    example = {
      { "Var found As Boolean = $m.lookup($a)", "$m:lookup($a)" },
      { "Var absent As Boolean = $m.lookup($absent)", "$m:lookup($absent)" },
    },
  },
  {
    name = "hasKey(key)", text = "Whether the key has an entry.", cost = keyCost,
    example = {
      { "Var found As Boolean = $m.hasKey($a)", "$m:hasKey($a)" },
      { "Var absent As Boolean = $m.hasKey($absent)", "$m:hasKey($absent)" },
    },
  },
  {
    name = "CountKey(key)", text = "The number of entries with the key: 1 or 0.", cost = keyCost,
    example = {
      { "Var present As Integer = $m.CountKey($a)", "$m:CountKey($a)" },
      { "Var absent As Integer = $m.CountKey($absent)", "$m:CountKey($absent)" },
    },
  },
  {
    name = "Remove(key)",
    text = [[Removes the key's entry. Returns how many were removed: 1, or 0 where there is none. Iterators at the
entry become invalid; the others stay.]] .. snapshot .. " Also when nothing was removed.",
    cost = keyCost,
    example = {
      { "Var removed As Integer = $m.Remove($b)", "$m:Remove($b)" },
      { "Var again As Integer = $m.Remove($b)", "$m:Remove($b)" },
      { "Call $m.Remove($a)", "$m:Remove($a)" },
    },
  },
  {
    name = "Count", text = "The number of entries.", cost = "constant.",
    example = { { "Var n As Integer = $m.Count", "$m.Count" } },
  },
  {
    name = "Empty", text = "Whether there are no entries.", cost = "constant.",
    example = { { "Var nothing As Boolean = $m.Empty", "$m.Empty" } },
  },
  {
    name = "Clear",
    text = [[Removes all entries. Iterators at entries become invalid; the end position stays one, so an iterator at
`last` still ends a walk.]] .. snapshot,
    cost = "linear.",
    example = {
      { "Var it As $Iterator = $m.first", "it = $m.first" }, { "Var stop As $Iterator = $m.last", "stop = $m.last" },
      { "$m.Clear", "$m:Clear()" }, { "Var n As Integer = $m.Count", "$m.Count" },
      { "Var same As Boolean = stop.isEqual($m.last)", "stop:isEqual($m.last)" },
      { "Var k As $key = it.Key", "it.Key" },
    },
  },
}

local walking = {
  {
    name = "first", text = "An iterator at the first entry; at the end position where there is none.", cost = "constant.",
    example = { { "Var k As $key = $m.first.Key", "$m:first().Key" } },
  },
  {
    name = "last",
    text = [[An iterator at the **end position, one past the last entry**. It has no key. A walk goes from `first`
while the iterator `isNotEqual` to `last`; in ordered classes `MovePrev` from there reaches the last entry.]],
    cost = "constant.",
    example = {
      { "Var it As $Iterator = $m.last", "it = $m.last" }, { "it.MovePrev", "it:MovePrev()" },
      { "Var k As $key = it.Key", "it.Key" }, { "k = $m.last.Key", "$m:last().Key" },
    },
  },
  {
    name = "MoveNext", iterator = true,
    text = function(family) return "Goes on to the next entry, or to the end position after the last." .. unmoved(family) end,
    cost = "constant on average.", raises = staleStep,
    example = {
      { "Var it As $Iterator = $m.first", "it = $m.first" },
      { "While it.isNotEqual($m.last)\n  System.DebugLog($keyText)\n  it.MoveNext\nWend",
        "while it:isNotEqual($m.last) do print(it.Key); it:MoveNext() end" },
      { "it.MoveNext", "it:MoveNext()" },
    },
  },
  {
    name = "MovePrev", iterator = true,
    text = function(family)
      return "Goes back to the entry before, from the end position to the last entry. Ordered classes alone have it."
        .. unmoved(family)
    end,
    cost = "constant on average.",
    raises = function(family)
      return [[OutOfBoundsException "Iterator is at the first position" at the first entry, and in an empty $container;
RuntimeException "Iterator is no longer valid" as for [Key](#key)]] .. (family.map and uninitialized or ".")
    end,
    example = {
      { "Var it As $Iterator = $m.last", "it = $m.last" }, { "it.MovePrev", "it:MovePrev()" },
      { "Var k As $key = it.Key", "it.Key" }, { "it = $m.first", "it = $m.first" }, { "it.MovePrev", "it:MovePrev()" },
    },
  },
  {
    name = "isNotEqual(other)", iterator = true,
    text = "The opposite of [isEqual](#isequalother): what a walk tests before each step.", cost = "constant.",
    raises = function(family)
      return comparisonRaises(family.map and "other iterator is nil" or "Iterator is nil")
    end,
    example = {
      { "Var more As Boolean = $m.first.isNotEqual($m.last)", "$m:first():isNotEqual($m.last)" },
      { "more = $m.first.isNotEqual(Nil)", "$m:first():isNotEqual(nil)" },
    },
  },
  {
    name = "isEqual(other)", iterator = true,
    text = [[Whether two iterators are at the same position. Iterators of different objects, also their end
positions, are not equal; an iterator that is no longer valid is equal only to those that were at the same entry.]],
    cost = "constant.",
    raises = comparisonRaises("other iterator is nil"),
    example = {
      { "Var same As Boolean = $m.first.isEqual($m.first)", "$m:first():isEqual($m.first)" },
      { "Var ended As Boolean = $m.first.isEqual($m.last)", "$m:first():isEqual($m.last)" },
    },
  },
  {
    name = "Key", iterator = true,
    text = "The key of the entry. The iterator stays valid through every change that leaves its own entry alone.",
    cost = "constant.", raises = stale .. uninitialized,
    example = {
      { "Var it As $Iterator = $m.find($b)", "it = $m:find($b)" }, { "Call $m.Remove($a)", "$m:Remove($a)" },
      { "Var k As $key = it.Key", "it.Key" }, { "Call $m.Remove($b)", "$m:Remove($b)" }, { "k = it.Key", "it.Key" },
    },
  },
  {
    name = "Value", iterator = true,
    text = [[Reads or assigns the value of the entry. **A value assigned here does not refresh index access:** the
snapshot that [ValueAtIndex](#valueatindexindex) and [Values](#values) read stays as it is.]],
    cost = "constant.", raises = stale .. uninitialized,
    example = {
      { "Var it As $Iterator = $m.find($b)", "it = $m:find($b)" }, { 'it.Value = "new"', 'it.Value = "new"' },
      { "Var v As $value = it.Value", "it.Value" }, { "v = $m.value($b)", "$m.value[$b]" },
    },
  },
}

local function bound(word)
  return {
    { "Var onIt As $key = $m." .. word .. "($b).Key", "$m:" .. word .. "($b).Key" },
    { "Var between As $key = $m." .. word .. "($between).Key", "$m:" .. word .. "($between).Key" },
    { "Var beyond As Boolean = $m." .. word .. "($beyond).isEqual($m.last)", "$m:" .. word .. "($beyond):isEqual($m.last)" },
  }
end

-- What Remove lets pass.
local function passed(family)
  return "Given Nil, " .. (family.text and "an iterator of an object with the other choice of case, " or "") .. "or "
    .. withoutPosition .. ", it does nothing, and raises nothing."
end

local positions = {
  {
    name = "find(key)", text = "An iterator at the key's entry, or at the end position where there is none.",
    cost = keyCost,
    example = {
      { "Var it As $Iterator = $m.find($b)", "it = $m:find($b)" }, { "Var k As $key = it.Key", "it.Key" },
      { "Var absent As Boolean = $m.find($absent).isEqual($m.last)", "$m:find($absent):isEqual($m.last)" },
    },
  },
  {
    name = "LowerBound(key)",
    text = function(family)
      return family.descending
        and [[An iterator at the first entry whose key is the given one or **smaller**, as the map runs downwards: at
the key itself where it is there, and between two keys at the smaller one. At the end position where all keys are
greater.]]
        or [[An iterator at the first entry whose key is the given one or greater: at the key itself where it is there,
and between two keys at the greater one. At the end position where all keys are smaller.]]
    end,
    cost = "logarithmic.", example = bound("LowerBound"),
  },
  {
    name = "UpperBound(key)",
    text = function(family)
      return family.descending
        and [[An iterator at the first entry whose key is **smaller** than the given one, as the map runs downwards.
At the end position where there is none. Between two keys it is where [LowerBound](#lowerboundkey) is, on a key one
entry further.]]
        or [[An iterator at the first entry whose key is greater than the given one. At the end position where there is
none. Between two keys it is where [LowerBound](#lowerboundkey) is, on a key one entry further.]]
    end,
    cost = "logarithmic.", example = bound("UpperBound"),
  },
  {
    name = "Remove(pos)",
    text = function(family)
      return "Removes the entry at a position. Iterators at it become invalid; all others stay. " .. passed(family)
        .. snapshot
    end,
    cost = "constant on average.",
    raises = ofIterators .. [[OutOfBoundsException "Iterator is at the end position".]],
    example = {
      { "Var it As $Iterator = $m.find($b)", "it = $m:find($b)" }, { "$m.Remove(it)", "$m:Remove(it)" },
      { "Var n As Integer = $m.Count", "$m.Count" }, { "Var k As $key = it.Key", "it.Key" },
      { "$m.Remove($m.last)", "$m:Remove($m.last)" },
    },
  },
  {
    name = "Remove(first, last)",
    text = function(family)
      return "Removes the entries from one position up to, not including, another; none where the two are the same. "
        .. passed(family) .. " That goes for either argument, whatever the other one is." .. snapshot
    end,
    cost = "linear in the number of entries removed.",
    raises = ofIterators .. [[OutOfBoundsException "last does not follow first", and nothing is removed.]],
    example = {
      { "$m.Remove($m.last, $m.first)", "$m:Remove($m.last, $m.first)" },
      { "$m.Remove($m.find($b), $m.last)", "$m:Remove($m:find($b), $m.last)" },
      { "Var n As Integer = $m.Count", "$m.Count" },
      { "$m.Remove($m.first, $m.last)", "$m:Remove($m.first, $m.last)" }, { "n = $m.Count", "$m.Count" },
    },
  },
}

local indexes = {
  {
    name = "Keys",
    text = [[All keys, in the order of a walk from `first`. **The array is the snapshot itself, not a copy:** it is
the one that index access reads, and the same one is returned until the next change of the $container. A script that
changes the array changes what [Key(index)](#keyindex) returns. The next change lets go of the snapshot, and the
array is the script's alone. Running a constructor again does not let go of it.]],
    cost = "constant; linear for the first access after a change.",
    example = {
      { "Var k() As $key = $m.Keys", "k = $m.Keys" }, { "Var n As Integer = k.Count", "#k" },
      { "k(0) = $absent", "k[0] = $absent" }, { "Var changed As $key = $m.Key(0)", "$m:Key(0)" },
      { "Call $m.Remove($b)", "$m:Remove($b)" }, { "Var fresh() As $key = $m.Keys", "$m.Keys" },
    },
  },
  {
    name = "Values",
    text = [[All values, in the order of [Keys](#keys), with which they make one snapshot: what is said there holds
here.]],
    cost = "constant; linear for the first access after a change.",
    example = { { "Var v() As $value = $m.Values", "$m.Values" } },
  },
  {
    name = "Key(index)",
    text = [[The key at a position of the walk from `first`, counted from 0. The first access by index after a
change takes a snapshot of the whole $container; see [Keys](#keys).]],
    cost = "constant; linear for the first access after a change.",
    raises = [[OutOfBoundsException, with the index and the range in its message, for an index outside 0 to `Count`
- 1.]],
    example = { { "Var k As $key = $m.Key(0)", "$m:Key(0)" }, { "k = $m.Key(3)", "$m:Key(3)" } },
  },
  {
    name = "ValueAtIndex(index)",
    text = [[The value at a position of the walk from `first`, counted from 0. It comes from the same snapshot as
[Key(index)](#keyindex), so **a value assigned through an iterator is not seen** before the next change of the map.]],
    cost = "constant; linear for the first access after a change.",
    raises = [[OutOfBoundsException, with the index and the range in its message, for an index outside 0 to `Count`
- 1.]],
    example = {
      { "Var v As $value = $m.ValueAtIndex(0)", "$m:ValueAtIndex(0)" },
      { "Var it As $Iterator = $m.first", "it = $m.first" }, { 'it.Value = "new"', 'it.Value = "new"' },
      { "v = $m.ValueAtIndex(0)", "$m:ValueAtIndex(0)" }, { "v = $m.value(it.Key)", "$m.value[it.Key]" },
    },
  },
  {
    name = "AddKeys(targetArray)",
    text = [[Inserts all keys into an array, in the order of a walk, **in front of** what it holds.]],
    cost = "as many insertions into the array as there are entries, each of which moves what follows.",
    raises = [[NilObjectException "array is nil".]],
    example = {
      { "Var k() As $key", 'k = Array({}, "$key")' }, { "k.Add($absent)", "k:append($absent)" },
      { "$m.AddKeys(k)", "$m:AddKeys(k)" }, { "Var n As Integer = k.Count", "#k" },
      { "Var last As $key = k(k.LastIndex)", "k[#k - 1]" },
    },
  },
  {
    name = "AddValues(targetArray)",
    text = [[Inserts all values into an array, in the order of a walk, **in front of** what it holds.]],
    cost = "as many insertions into the array as there are entries, each of which moves what follows.",
    raises = [[NilObjectException "array is nil".]],
    example = {
      { "Var v() As $value", 'v = Array({}, "$value")' }, { "$m.AddValues(v)", "$m:AddValues(v)" },
      { "Var firstOne As $value = v(0)", "v[0]" },
    },
  },
}

local copies = {
  {
    name = "Clone",
    text = function(family)
      return "A new map with the same entries" .. (family.text and " and the same choice of case" or "")
        .. ", made as [Constructor(other)](#constructorother) makes a copy."
    end,
    cost = "linear; in hash classes on average.",
    example = {
      { "Var copy As $Class = $m.Clone", "copy = $m:Clone()" }, { "Call copy.Remove($a)", "copy:Remove($a)" },
      { "Var n As Integer = copy.Count", "copy.Count" }, { "n = $m.Count", "$m.Count" },
    },
  },
  {
    name = "Constructor(other)",
    text = function(family)
      return "A copy of a map of the same class" .. (family.text and ", with its choice of case" or "") .. [[: keys, and
the values themselves, so that an object or an array as a value is in both maps. In ordered classes the copy has the original's
sequence exactly; in hash classes its buckets are its own, so `BinCount` and the order of visits may differ.

**A map cannot be copied into itself:** its entries go first, and what is left is an object without a container,
whose members raise NilObjectException "Map not initialized" until it is constructed again.

**Run on a map that was in use,** a constructor makes all iterators of that map stale, and leaves the snapshot behind
`Keys`, `Values` and index access as it was: call `Clear` first.]]
    end,
    cost = "linear; in hash classes on average.",
    raises = [[NilObjectException "Other map is nil", and the object stays as it was. NilObjectException "Other map
not initialized" for the object itself, and for an object without a container; this object then has none either.]],
    example = {
      { "Var copy As New $Class($m)", "copy = $Class($m)" }, { "Var n As Integer = copy.Count", "copy.Count" },
      { "$m.Constructor($m)", "$m:Constructor($m)" }, { "n = $m.Count", "$m.Count" },
    },
  },
  {
    name = "Constructor(dic)",
    text = [[A map with the entries of a Dictionary, whose keys and values the host converts to the map's types; it
may make 0 of a text that is not a number. Where two keys convert to the same Integer, the later value stays. From a
Dictionary that is nil, an empty map.]],
    cost = "as many insertions as the Dictionary has entries.",
    example = {
      { "Var d As New Dictionary", "d = Dictionary()" }, { 'd.Value($a) = "x"', 'd[$a] = "x"' },
      { "Var fromIt As New $Class(d)", "fromIt = $Class(d)" }, { "Var v As $value = fromIt.value($a)", "fromIt.value[$a]" },
    },
  },
  {
    name = "Constructor(dic, CaseSensitive)",
    text = [[A map with the entries of a Dictionary, whose keys and values the host converts to the map's types.
`CaseSensitive` defaults to True, also where the Dictionary was made from a map that is not. Where two keys are the
same in the map, the first key stays, with the later value. From a Dictionary that is nil, an empty map.]],
    cost = "as many insertions as the Dictionary has entries.",
    example = {
      { "Var d As New Dictionary", "d = Dictionary()" }, { 'd.Value("Ab") = "x"', 'd["Ab"] = "x"' },
      { "Var fromIt As New $Class(d, False)", "fromIt = $Class(d, false)" },
      { 'Var v As $value = fromIt.value("aB")', 'fromIt.value["aB"]' },
    },
  },
  {
    name = "CloneDictionary", text = "A new Dictionary with the entries of the map, in the map's order.",
    cost = "as many insertions into the Dictionary as the map has entries.",
    example = { { "Var d As Dictionary = $m.CloneDictionary", "$m:CloneDictionary()" } },
  },
  {
    name = "Operator_Convert",
    text = [[The same as [CloneDictionary](#clonedictionary). The host calls it where a map stands and a Dictionary is
wanted; nobody writes its name.]],
    cost = "as many insertions into the Dictionary as the map has entries.",
    example = { { "Var d As Dictionary = $m", "Dictionary($m)" } },
  },
}

local numbers = {
  {
    name = "BinCount",
    text = [[The number of buckets of the hash table: 0 for a new one, afterwards at least `Count`. It grows with
the entries and never shrinks, not even when the $container is cleared.]],
    cost = "constant.",
    example = {
      { "Var fresh As New $Hash", "fresh = $Hash()" }, { "Var bins As Integer = fresh.BinCount", "fresh.BinCount" },
      { "Var filled As New $Hash($hashSource)", "filled = $Hash($hashSourceLua)" },
      { "bins = filled.BinCount", "filled.BinCount" },
    },
  },
  {
    name = "MaxSize",
    text = function(_, classes)
      local rows = { "| Class | `MaxSize` |", "|---|---|" }
      for _, class in ipairs(classes) do
        rows[#rows + 1] = ("| `%s` | %d |"):format(class.name, _G[class.name]().MaxSize)
      end
      return [[The number of entries that a 64-bit address space could hold: a constant of the class. It says nothing
about the memory there is, nor about the limit of the hash classes: one holds at most 2,147,483,646 entries, and adding
one more raises OutOfMemoryException and leaves it as it was.

]] .. table.concat(rows, "\n")
    end,
    cost = "constant.",
  },
}

return {
  { title = "Making one", members = making },
  { title = "Entries by key", members = byKey },
  { title = "Walking", members = walking,
    text = [[An iterator is an object at an entry, or at the end position behind the last. It stays good while its own
entry is there, whatever else changes; see [iterators](README.md#iterators).]] },
  { title = "Positions and ranges", members = positions },
  { title = "Arrays and access by index", members = indexes },
  { title = "Copies and Dictionaries", members = copies },
  { title = "Numbers about it", members = numbers },
}
