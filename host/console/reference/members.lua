-- What each member does. Overloads are told apart by their parameters' names; descriptions hold for all classes of
-- a page, and say where ordered and hash classes differ. A text is a string or a function of the page's family.
-- $m, $a, ... stand for the page's words (families.lua).

local keyCost = "ordered: logarithmic. Hash: constant on average."
local snapshot = "\n\nDrops the snapshot that index access reads (see [Keys](#keys))."
local ofIterators = [[
RuntimeException "Iterator is no longer valid" when the entry was removed or its container cleared, constructed
again or destroyed; RuntimeException "Iterator belongs to another container";]] .. " "
local stale = [[
OutOfBoundsException "Iterator is at the end position" at `last`; RuntimeException "Iterator is no longer valid"
when the entry was removed or its container cleared, constructed again or destroyed]]
local uninitialized = [[; NilObjectException "Iterator not initialized" for an iterator that no container answered.]]
local staleStep = function(family) return stale .. (family.map and uninitialized or ".") end
local boundary = [[The iterator stays valid through every change that leaves its own entry alone.]]

local container = {

  ["CaseSensitive"] = {
    text = [[Whether keys that differ only in letter case are different keys. Chosen when the object is constructed.
Which letters are the same is the host's decision.]],
    cost = "constant.",
    example = { "$Class().CaseSensitive", "$Class(false).CaseSensitive" },
  },
  ["MaxSize"] = {
    text = [[The number of entries that a 64-bit address space could hold: a constant of the class, given with each
class above. It says nothing about the memory there is.]],
    cost = "constant.",
  },
  ["Count"] = { text = "The number of entries.", cost = "constant.", example = { "$m.Count" } },
  ["Empty"] = { text = "Whether there are no entries.", cost = "constant.", example = { "$m.Empty" } },
  ["BinCount"] = {
    text = [[The number of buckets of the hash table: 0 for a new one, afterwards at least `Count`. It grows with
the entries and never shrinks, not even when the $container is cleared.]],
    cost = "constant.",
    example = { "$Hash().BinCount", "$filled.BinCount" },
  },

  ["Constructor()"] = { text = "An empty $container.", example = { "$Class().Count" } },
  ["Constructor(CaseSensitive)"] = {
    text = [[An empty $container. `CaseSensitive` defaults to True.]],
    example = { "$Class(false).CaseSensitive" },
  },
  ["Constructor(dic)"] = {
    text = [[A map with the entries of a Dictionary, whose keys and values the host converts to the map's types; it
may make 0 of a text that is no number. Where two keys convert to the same Integer, the later value stays. From a
Dictionary that is nil, an empty map.]],
    cost = "as many insertions as the Dictionary has entries.",
    example = { '$Class(Dictionary{[$a] = "x"}).Keys', "$Hash(Dictionary($m)).Count" },
  },
  ["Constructor(dic, CaseSensitive)"] = {
    text = [[A map with the entries of a Dictionary, whose keys and values the host converts to the map's types.
`CaseSensitive` defaults to True. Where two keys are the same in the map, the first key stays, with the later value.
From a Dictionary that is nil, an empty map.]],
    cost = "as many insertions as the Dictionary has entries.",
    example = { '$Class(Dictionary{a = "x"}).Keys', "$Class(nil, false).CaseSensitive", "$Hash(Dictionary($m)).Count" },
  },
  ["Constructor(other)"] = {
    text = function(family)
      return "A copy of a map of the same class" .. (family.text and ", with its choice of case" or "") .. [[: keys, and
the values themselves, so that an object as a value is in both maps. In hash classes the copy's buckets are its own,
so `BinCount` and the order of visits may differ from the original's.

**A map cannot be copied into itself:** its entries go first, and what is left is an object without a container,
whose members raise NilObjectException "Map not initialized" until it is constructed again.]]
    end,
    cost = "linear; in hash classes on average.",
    raises = [[NilObjectException "Other map is nil", and the object stays as it was. NilObjectException "Other map
not initialized" for the object itself, and for an object without a container; this object then has none either.]],
    example = function(family)
      -- A bare nil is taken for the first parameter that it fits: the Dictionary where the key is an Integer.
      return { "$Class($m).Count", family.text and "$Class(nil)" or "$Class($m:Clone()).Count",
               "$m:Constructor($m)", "$m.Count" }
    end,
  },
  ["Constructor(Keys)"] = {
    text = function(family)
      return "A set of the elements of an array. Of equal elements, the first is kept."
        .. (family.text and " The set is case-sensitive." or "")
        .. (family.variants and " Strings become Variants of type String." or "")
    end,
    cost = "as many insertions as the array has elements.",
    raises = [[NilObjectException "values array is nil", and the object stays as it was.]],
    example = { "$Class($array).Keys", "$Class(nil)" },
  },

  ["CloneDictionary"] = {
    text = "A new Dictionary with the entries of the map, in the map's order.",
    cost = "as many insertions into the Dictionary as the map has entries.",
    example = { "$m:CloneDictionary()" },
  },
  ["Operator_Convert"] = {
    text = function(family)
      return [[The same as [CloneDictionary](#clonedictionary). The host calls it where a map stands and a Dictionary
is wanted: in the example, an ordered map where the hash map's [Constructor(dic]]
        .. (family.text and [[, CaseSensitive)](#constructordic-casesensitive) wants one. The new map has its own choice
of case.]] or ")](#constructordic) wants one.")
    end,
    example = function(family) return { "$Hash($m).Count", family.text and "$Hash($m, false).CaseSensitive" or nil } end,
  },
  ["Clone"] = {
    text = function(family)
      return "A new map with the same entries" .. (family.text and " and the same choice of case" or "")
        .. ", made as [Constructor(other)](#constructorother) makes a copy."
    end,
    cost = "linear; in hash classes on average.",
    example = { "c = $m:Clone()", "c:Remove($a)", "c.Count", "$m.Count" },
  },
  ["Clear"] = {
    text = [[Removes all entries. Iterators at entries become invalid; the end position stays one, so an iterator at
`last` still ends a walk.]] .. snapshot,
    cost = "linear.",
    example = { "it, stop = $m.first, $m.last", "$m:Clear()", "$m.Count", "it.Key", "stop:isEqual($m.last)" },
  },

  ["Key(index)"] = {
    text = [[The key at a position of the walk from `first`, counted from 0. The first access by index after a
change takes a snapshot of the whole $container; see [Keys](#keys).]],
    cost = "constant; linear for the first access after a change.",
    raises = [[OutOfBoundsException, with the index and the range in its message, for an index outside 0 to `Count`
- 1.]],
    example = { "$m:Key(0)", "$m:Key(3)" },
  },
  ["ValueAtIndex(index)"] = {
    text = [[The value at a position of the walk from `first`, counted from 0. It comes from the same snapshot as
[Key(index)](#keyindex), so **a value assigned through an iterator is not seen** before the next change of the map.]],
    cost = "constant; linear for the first access after a change.",
    raises = [[OutOfBoundsException, with the index and the range in its message, for an index outside 0 to `Count`
- 1.]],
    example = { "$m:ValueAtIndex(0)", "it = $m.first", 'it.Value = "new"', "$m:ValueAtIndex(0)", "$m.value[it.Key]" },
  },
  ["Keys"] = {
    text = [[All keys, in the order of a walk from `first`. **The array is the snapshot itself, not a copy:** it is
the one that index access reads, and the same one is answered until the next change of the $container. A script that
changes the array changes what [Key(index)](#keyindex) answers. The next change lets go of the snapshot, and the
array is the script's alone. Running a constructor again does not let go of it.]],
    cost = "constant; linear for the first access after a change.",
    example = { "k = $m.Keys", "k", "k == $m.Keys", "k[0] = $absent", "$m:Key(0)", "$m:Remove($b)", "$m.Keys", "k" },
  },
  ["Values"] = {
    text = [[All values, in the order of [Keys](#keys), with which they make one snapshot: what is said there holds
here.]],
    cost = "constant; linear for the first access after a change.",
    example = { "$m.Values" },
  },
  ["AddKeys(targetArray)"] = {
    text = [[Inserts all keys into an array, in the order of a walk, **in front of** what it holds.]],
    cost = "as many insertions into the array as there are entries, each of which moves what follows.",
    raises = [[NilObjectException "array is nil".]],
    example = { "k = Array({$absent}, \"$key\")", "$m:AddKeys(k)", "k" },
  },
  ["AddValues(targetArray)"] = {
    text = [[Inserts all values into an array, in the order of a walk, **in front of** what it holds.]],
    cost = "as many insertions into the array as there are entries, each of which moves what follows.",
    raises = [[NilObjectException "array is nil".]],
    example = { "v = Array({}, \"$value\")", "$m:AddValues(v)", "v" },
  },

  ["first"] = {
    text = "An iterator at the first entry; at the end position where there is none.",
    cost = "constant.",
    example = { "$m:first().Key" },
  },
  ["last"] = {
    text = [[An iterator at the **end position, one past the last entry**. It has no key. A walk goes from `first`
while the iterator `isNotEqual` to `last`; in ordered classes `MovePrev` from there reaches the last entry.]],
    cost = "constant.",
    example = { "it = $m.last", "it.Key", "it:MovePrev()", "it.Key" },
  },
  ["find(key)"] = {
    text = "An iterator at the key's entry, or at the end position.",
    cost = keyCost,
    example = { "$m:find($b).Key", "$m:find($absent):isEqual($m.last)" },
  },
  ["LowerBound(key)"] = {
    text = function(family)
      return family.descending
        and [[An iterator at the first entry whose key is the given one or **smaller**, as the map runs downwards; or
at the end position.]]
        or "An iterator at the first entry whose key is the given one or greater, or at the end position."
    end,
    cost = "logarithmic.",
    example = { "$m:LowerBound($b).Key" },
  },
  ["UpperBound(key)"] = {
    text = function(family)
      return family.descending
        and [[An iterator at the first entry whose key is **smaller** than the given one, as the map runs downwards;
or at the end position.]]
        or "An iterator at the first entry whose key is greater than the given one, or at the end position."
    end,
    cost = "logarithmic.",
    example = { "$m:UpperBound($b).Key" },
  },

  ["Remove(pos)"] = {
    text = function(family)
      return "Removes the entry at a position. Iterators at it become invalid; all others stay. Nil"
        .. (family.text and ", and an iterator of an object with the other choice of case, do" or " does")
        .. " nothing." .. snapshot
    end,
    cost = "constant on average.",
    raises = ofIterators .. [[OutOfBoundsException "Iterator is at the end position".]],
    example = { "it = $m:find($b)", "$m:Remove(it)", "$m.Count", "it.Key", "$m:Remove($m.last)" },
  },
  ["Remove(first, last)"] = {
    text = function(family)
      return "Removes the entries from one position up to, not including, another; none where the two are the same. Nil"
        .. " on either side" .. (family.text and ", and an iterator of an object with the other choice of case, do"
        or " does") .. " nothing." .. snapshot
    end,
    cost = "linear in the number of entries removed; where it raises, in the number of entries behind `first`.",
    raises = ofIterators .. [[OutOfBoundsException "last does not follow first", and nothing is removed.]],
    example = function(family)
      local lines = { "$m:Remove($m.last, $m.first)", "$m:Remove($m.first, $m.last)", "$m.Count" }
      table.insert(lines, 2, "$m:Remove($m:find($absent), $m.last)")
      return lines
    end,
  },
  ["Remove(key)"] = {
    text = [[Removes the key's entry. Answers how many were removed: 1, or 0 where there is none. Iterators at the
entry become invalid.]] .. snapshot .. " Also when nothing was removed.",
    cost = keyCost,
    example = { "$m:Remove($b)", "$m:Remove($b)" },
  },
  ["CountKey(key)"] = {
    text = "The number of entries with the key: 1 or 0.",
    cost = keyCost,
    example = { "$m:CountKey($a)", "$m:CountKey($absent)" },
  },
  ["hasKey(key)"] = {
    text = "Whether the key has an entry.",
    cost = keyCost,
    example = { "$m:hasKey($a)", "$m:hasKey($absent)" },
  },
  ["value(key)"] = {
    text = [[Reads or assigns the value of a key. Assigning adds the entry where there is none; where there is one,
its key stays as it is.

Assigning drops the snapshot that index access reads (see [Keys](#keys)).]],
    cost = keyCost,
    raises = [[KeyNotFoundException "Key not found" on reading an absent key.]],
    example = function(family)
      local lines = { '$m.value[$absent] = "new"', "$m.value[$absent]", "$m:Remove($absent)", "$m.value[$absent]" }
      if family.text then
        lines[#lines + 1] = "i = $Class(false)"
        lines[#lines + 1] = 'i.value["Ab"] = "first"'
        lines[#lines + 1] = 'i.value["AB"] = "second"'
        lines[#lines + 1] = "i:CloneDictionary()"
      end
      return lines
    end,
  },
  ["lookup(key, defaultvalue)"] = {
    text = "The value of a key, or `defaultvalue` where the key has no entry. Never changes the map.",
    cost = keyCost,
    example = { '$m:lookup($a, "none")', '$m:lookup($absent, "none")' },
  },
  ["lookup(key)"] = {
    text = "Whether the key is in the set.",
    cost = keyCost,
    example = { "$m:lookup($a)", "$m:lookup($absent)" },
  },
  ["insert(key)"] = {
    text = function(family)
      return "Adds a key, unless it is there already" .. (family.text and "; then the set keeps the one it has" or "")
        .. "." .. snapshot .. " Also when nothing was added."
    end,
    cost = keyCost,
    example = { "$m:insert($absent)", "$m:insert($absent)", "$m.Count" },
  },
}

local iterator = {

  ["Key"] = {
    text = "The key of the entry. " .. boundary,
    cost = "constant.", raises = stale .. uninitialized,
    example = { "it = $m:find($b)", "$m:Remove($a)", "it.Key", "$m:Remove($b)", "it.Key" },
  },
  ["Value"] = {
    text = [[Reads or assigns the value of the entry. **A value assigned here does not refresh index access:** the
snapshot that [ValueAtIndex](#valueatindexindex) and [Values](#values) answer from stays as it is.]],
    cost = "constant.", raises = stale .. uninitialized,
    example = { "it = $m:find($b)", 'it.Value = "new"', "it.Value", "$m.value[$b]" },
  },
  ["MoveNext"] = {
    text = function(family)
      return [[Goes on to the next entry, or to the end position after the last. When it raises, the iterator stays
where it was.]]
        .. (family.map and "" or " An iterator that no set answered stays as it is, without an exception.")
    end,
    cost = "constant on average.", raises = staleStep,
    example = { "it = $m.first", "while it:isNotEqual($m.last) do print(it.Key); it:MoveNext() end", "it:MoveNext()" },
  },
  ["MovePrev"] = {
    text = function(family)
      return [[Goes back to the entry before, from the end position to the last entry. When it raises, the iterator
stays where it was.]]
        .. (family.map and "" or " An iterator that no set answered stays as it is, without an exception.")
    end,
    cost = "constant on average.",
    raises = [[OutOfBoundsException "Iterator is at the first position" at the first entry, and in an empty
$container; RuntimeException "Iterator is no longer valid" as for [Key](#key).]],
    example = { "it = $m.last", "it:MovePrev()", "it.Key", "$m:first():MovePrev()" },
  },
  ["isEqual(other)"] = {
    text = [[Whether two iterators are at the same position. Iterators of different objects, also their end
positions, are not equal; an iterator that is no longer valid is equal only to those that were at the same entry.]],
    cost = "constant.",
    raises = [[NilObjectException "other iterator is nil", also for an iterator that no container answered.]],
    example = { "$m:first():isEqual($m.first)", "$m:first():isEqual($m.last)", "$m:first():isEqual(nil)" },
  },
  ["isNotEqual(other)"] = {
    text = [[The opposite of [isEqual](#isequalother): what a walk tests before each step.]],
    cost = "constant.",
    raises = function(family)
      return ('NilObjectException "%s", also for an iterator that no container answered.'):format(
        family.map and "other iterator is nil" or "Iterator is nil")
    end,
    example = { "$m:first():isNotEqual($m.last)", "$m:first():isNotEqual(nil)" },
  },
}

return { container = container, iterator = iterator }
