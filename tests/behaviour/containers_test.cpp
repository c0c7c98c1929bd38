// What maps and sets have in common: keys, order, the three forms of Remove, objects without a container.
#include "tests/behaviour/container_test.h"

namespace vornik::behaviour {
namespace {

using testing::ElementsAre;

struct Containers : ContainerTest {};
VORNIK_FOR_CLASSES(Containers, anyClass);
struct OrderedContainers : ContainerTest {};
VORNIK_FOR_CLASSES(OrderedContainers, isOrdered);
struct HashContainers : ContainerTest {};
VORNIK_FOR_CLASSES(HashContainers, [](const ClassFacts& f) { return !f.ordered; });

TEST_P(Containers, FindWhatWasAddedAndNothingElse) {
  const Value container = make();
  EXPECT_EQ(count(container), 0);
  EXPECT_TRUE(host().get(container, "Empty").boolean());
  EXPECT_EQ(host().get(container, "MaxSize").integer(), facts().maxSize());
  EXPECT_TRUE(atEnd(container, call(container, "first")));
  EXPECT_EQ(host().className(call(container, "first")), facts().iterator());
  for (const int i : {2, 0, 4, 2}) put(container, i);
  EXPECT_EQ(count(container), 3);
  EXPECT_FALSE(host().get(container, "Empty").boolean());
  for (int i = 0; i < 6; ++i) {
    const bool present = i % 2 == 0;
    EXPECT_EQ(call(container, "CountKey", {key(i)}).integer(), present ? 1 : 0) << i;
    const Value found = call(container, "find", {key(i)});
    ASSERT_EQ(atEnd(container, found), !present) << i;
    EXPECT_EQ(present ? keyAt(found) : show(key(i)), show(key(i)));
    EXPECT_EQ(call(container, "Remove", {key(i + 5)}).integer(), 0) << i;
  }
  EXPECT_EQ(content(container), entries({0, 2, 4})) << "looking must not change anything";
  EXPECT_EQ(call(container, "Remove", {key(2)}).integer(), 1);
  EXPECT_EQ(content(container), entries({0, 4}));
}

TEST_P(Containers, RemoveByPositionAndUpToButNotIncludingLast) {
  const Value container = make({0, 1, 2, 3, 4, 5});
  call(container, "Remove", {call(container, "find", {key(2)})});
  EXPECT_EQ(content(container), entries({0, 1, 3, 4, 5}));
  const Texts order = keys(container);
  const Value from = nth(container, 1), to = nth(container, 3);
  call(container, "Remove", {to, to});
  EXPECT_EQ(count(container), 5);
  call(container, "Remove", {from, to});
  EXPECT_THAT(keys(container), ElementsAre(order[0], order[3], order[4]));
  EXPECT_EQ(keyAt(to), order[3]) << "the end of the range stays";
  call(container, "Remove", {call(container, "last"), call(container, "last")});
  EXPECT_EQ(count(container), 3);
  call(container, "Remove", {call(container, "first"), call(container, "last")});
  EXPECT_TRUE(host().get(container, "Empty").boolean());
  put(container, 9);
  EXPECT_EQ(content(container), entries({9}));
}

TEST_P(Containers, RemoveLetsNilAndUnplacedIteratorsPass) {
  const Value container = make({1, 2}), first = call(container, "first");
  for (const Value& nothing : {Value(), host().instantiate(facts().iterator())}) {
    callDeclared(container, "Remove(pos as " + facts().iterator() + ")", nothing);
    for (const auto& [from, to] :
         {std::pair(nothing, first), std::pair(first, nothing), std::pair(nothing, nothing)}) {
      call(container, "Remove", {from, to});
    }
  }
  EXPECT_EQ(content(container), entries({1, 2}));
}

TEST_P(Containers, WithoutAContainerRaise) {
  const Value object = unmade(), other = make({1});
  Texts plain{"Count", "Empty", "MaxSize", "Clear", "first", "last"}, ofKey{"Remove", "CountKey", "find"};
  if (facts().isMap()) plain.push_back("Clone");
  if (!facts().ordered) plain.push_back("BinCount");
  if (facts().ordered) ofKey.insert(ofKey.end(), {"LowerBound", "UpperBound"});
  const Texts more = facts().isMap() ? Texts{"value", "hasKey"} : Texts{"lookup"};
  ofKey.insert(ofKey.end(), more.begin(), more.end());
  for (const std::string& name : plain)
    EXPECT_EQ(raised([&] { host().get(object, name); }), missing()) << name;
  for (const std::string& name : ofKey) {
    EXPECT_EQ(raised([&] { host().call(object, name, {key(1)}); }), missing()) << name;
  }
  EXPECT_EQ(raised([&] { put(object, 1); }), missing());
  if (facts().isMap()) {
    EXPECT_EQ(raised([&] { call(object, "lookup", {key(1), value(1)}); }), missing());
  }
  // Sets pass over positions in silence.
  const Value first = call(other, "first");
  const std::string forPositions = facts().isMap() ? missing() : "";
  EXPECT_EQ(raised([&] { call(object, "Remove", {first}); }), forPositions);
  EXPECT_EQ(raised([&] { call(object, "Remove", {first, call(other, "last")}); }), forPositions);
  EXPECT_EQ(count(other), 1);

  call(object, "Constructor", constructorArguments());
  put(object, 1);
  EXPECT_EQ(content(object), entries({1}));
}

TEST_P(Containers, IteratorsWithoutAPositionRaise) {
  const Value container = make({1}), first = call(container, "first");
  const Value unplaced = host().instantiate(facts().iterator());
  const std::string forMoves = facts().isMap() ? kNoPosition : "";
  EXPECT_EQ(raised([&] { call(unplaced, "Key"); }), kNoPosition);
  EXPECT_EQ(raised([&] { call(unplaced, "MoveNext"); }), forMoves);
  if (facts().ordered) {
    EXPECT_EQ(raised([&] { call(unplaced, "MovePrev"); }), forMoves);
  }
  if (facts().isMap()) {
    EXPECT_EQ(raised([&] { call(unplaced, "Value"); }), kNoPosition);
    EXPECT_EQ(raised([&] { host().assign(unplaced, "Value", {}, value(1)); }), kNoPosition);
  }
  const std::string isNil = "NilObjectException: other iterator is nil";
  const std::string isNotEqualIsNil = facts().isMap() ? isNil : "NilObjectException: Iterator is nil";
  EXPECT_EQ(raised([&] { call(first, "isEqual", {nullptr}); }), isNil);
  EXPECT_EQ(raised([&] { call(unplaced, "isEqual", {first}); }), isNil);
  EXPECT_EQ(raised([&] { call(first, "isNotEqual", {nullptr}); }), isNotEqualIsNil);
  EXPECT_EQ(raised([&] { call(unplaced, "isNotEqual", {first}); }), isNotEqualIsNil);
  EXPECT_FALSE(equal(first, unplaced));
}

TEST_P(OrderedContainers, IterateInOrderBothWays) {
  const Value container = make({3, 1, 4, 0, 2});
  Texts expected = shown({0, 1, 2, 3, 4});
  if (facts().descending()) std::reverse(expected.begin(), expected.end());
  EXPECT_EQ(keys(container), expected);
  const Value i = call(container, "last");
  for (std::size_t n = expected.size(); n-- > 0;) {
    call(i, "MovePrev");
    EXPECT_EQ(keyAt(i), expected[n]);
  }
  EXPECT_TRUE(equal(i, call(container, "first")));
}

TEST_P(OrderedContainers, BoundsFollowTheOrderOfIteration) {
  // In keys 2, 4 and 6: the numbers of the keys found, ascending and descending; 9 for the end.
  struct Bounds {
    int asked, lowerUp, upperUp, lowerDown, upperDown;
  };
  constexpr Bounds kBounds[] = {{1, 2, 2, 9, 9}, {2, 2, 4, 2, 9}, {3, 4, 4, 2, 2},
                                {4, 4, 6, 4, 2}, {6, 6, 9, 6, 4}, {7, 9, 9, 6, 6}};
  const Value container = make({4, 6, 2});
  const auto at = [&](const char* bound, int asked) {
    const Value found = call(container, bound, {key(asked)});
    return atEnd(container, found) ? show(key(9)) : keyAt(found);
  };
  const bool down = facts().descending();
  for (const Bounds& b : kBounds) {
    EXPECT_EQ(at("LowerBound", b.asked), show(key(down ? b.lowerDown : b.lowerUp))) << b.asked;
    EXPECT_EQ(at("UpperBound", b.asked), show(key(down ? b.upperDown : b.upperUp))) << b.asked;
  }
}

TEST_P(HashContainers, GrowByPrimesAndVisitIntegersInChainOrder) {
  const Value container = make();
  std::vector<std::int64_t> bins{host().get(container, "BinCount").integer()};
  for (int i = 0; i < 6; ++i) {
    put(container, i + 3);
    bins.push_back(host().get(container, "BinCount").integer());
  }
  EXPECT_THAT(bins, ElementsAre(0, 2, 2, 5, 5, 5, 11));
  if (facts().key == Kind::kInteger) {
    EXPECT_EQ(keys(container), shown({8, 7, 6, 5, 4, 3}));
    // The integers 1, 2, 5, 3, -1: the last, read as unsigned, shares the bucket of 5.
    EXPECT_EQ(keys(make({4, 5, 8, 6, 2})), shown({6, 2, 8, 5, 4}));
  }
  call(container, "Remove", {call(container, "first"), call(container, "last")});
  EXPECT_EQ(host().get(container, "BinCount").integer(), 11);
  call(container, "Clear");
  EXPECT_EQ(host().get(container, "BinCount").integer(), 11);
}

}  // namespace
}  // namespace vornik::behaviour
