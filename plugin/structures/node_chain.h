// The elements of a hash table: a chain of nodes in one array, cut into runs.
//
// Links are 32-bit indexes, half the size of addresses, and they stay right when the array moves. Node 0
// holds no element: it closes the chain to a circle, so that linking and unlinking know no special cases. The
// top bit of a link says that a run ends here. Node 0 carries it, too: an element therefore starts a run
// exactly if its predecessor ends one.
#ifndef VORNIK_STRUCTURES_NODE_CHAIN_H
#define VORNIK_STRUCTURES_NODE_CHAIN_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "plugin/structures/relocation.h"

namespace vornik {

/// Which node of its array; 0, which has no element, also stands for none and for the end of the chain.
using NodeIndex = std::uint32_t;

/// A chain of elements. Whoever owns it destroys them: what is still there when the chain goes is forgotten.
/// Elements are moved about as bytes; references to them die with the next element that is added. Constant
/// time unless said otherwise.
template <typename Element>
class NodeChain {
  static_assert(TriviallyRelocatable<Element>);

 public:
  /// Without room for any element, or for as many as said; may throw std::bad_alloc.
  NodeChain() = default;
  explicit NodeChain(NodeIndex capacity) {
    reallocate(capacity);
    nodes_[0].next = kEndsRun;
    nodes_[0].previous = 0;
  }
  NodeChain(NodeChain&& other) noexcept { swap(other); }
  NodeChain& operator=(NodeChain&& other) noexcept {
    NodeChain(std::move(other)).swap(*this);
    return *this;
  }

  NodeIndex capacity() const { return capacity_; }
  /// Whether the next element needs more room.
  bool isFull() const { return free_ == 0 && used_ == capacity_; }

  Element& operator[](NodeIndex node) const {
    return *std::launder(reinterpret_cast<Element*>(nodes_[node].element));
  }

  NodeIndex first() const { return nodes_ != nullptr ? next(0) : 0; }
  NodeIndex next(NodeIndex node) const { return nodes_[node].next & ~kEndsRun; }
  NodeIndex previous(NodeIndex node) const { return nodes_[node].previous; }
  bool endsRun(NodeIndex node) const { return (nodes_[node].next & kEndsRun) != 0; }
  bool startsRun(NodeIndex node) const { return endsRun(previous(node)); }
  /// Has a node on its way to the cache.
  void fetch(NodeIndex node) const { __builtin_prefetch(&nodes_[node]); }
  void setEndsRun(NodeIndex node, bool ends) { nodes_[node].next = next(node) | (ends ? kEndsRun : 0); }

  /// Puts a new element, which must not throw, into a node that is not on the chain yet. There must be room:
  /// what was given back last is used first.
  template <typename... Arguments>
  NodeIndex construct(Arguments&&... arguments) noexcept {
    const NodeIndex node = free_ != 0 ? std::exchange(free_, nodes_[free_].next) : ++used_;
    ::new (nodes_[node].element) Element(std::forward<Arguments>(arguments)...);
    return node;
  }
  /// Destroys the element of a node that has left the chain, and takes the node back.
  void destroy(NodeIndex node) noexcept {
    (*this)[node].~Element();
    nodes_[node].next = std::exchange(free_, node);
  }

  /// Links a node in front of another, or at the end of the chain (0).
  void linkBefore(NodeIndex successor, NodeIndex node, bool endsRun) {
    const NodeIndex predecessor = previous(successor);
    nodes_[node].next = successor | (endsRun ? kEndsRun : 0);
    nodes_[node].previous = predecessor;
    nodes_[predecessor].next = node | (nodes_[predecessor].next & kEndsRun);
    nodes_[successor].previous = node;
  }
  /// Takes a node off the chain. A run that it ended ends with its predecessor; so it does where the node was
  /// all of its run, because the predecessor ends another.
  void unlink(NodeIndex node) {
    const NodeIndex predecessor = nodes_[node].previous;
    const NodeIndex link = nodes_[node].next;
    nodes_[predecessor].next = link | (nodes_[predecessor].next & kEndsRun);
    nodes_[link & ~kEndsRun].previous = predecessor;
  }

  /// Makes more room for a full chain; every element keeps its index. std::bad_alloc with nothing
  /// changed. Linear, but for an array that can grow where it lies.
  void enlarge(NodeIndex capacity) {
    if (nodes_ == nullptr) {
      NodeChain(capacity).swap(*this);
    } else {
      reallocate(capacity);
    }
  }

  /// Moves all elements into `fresh`, which must be empty and have room for them, and takes its place.
  /// Neighbours on the chain are neighbours in memory from then on. Calls moved(from, to) for every
  /// element. Linear.
  template <typename Moved>
  void moveInOrder(NodeChain fresh, Moved moved) noexcept {
    NodeIndex to = 0;
    for (NodeIndex from = first(); from != 0; from = next(from)) {
      fresh.nodes_[to].next = (to + 1) | (fresh.nodes_[to].next & kEndsRun);
      ++to;
      fresh.nodes_[to].next = nodes_[from].next & kEndsRun;
      fresh.nodes_[to].previous = to - 1;
      std::memcpy(fresh.nodes_[to].element, nodes_[from].element, sizeof(Element));
      moved(from, to);
    }
    fresh.nodes_[0].previous = to;
    fresh.used_ = to;
    swap(fresh);
  }

 private:
  struct Node {
    NodeIndex next;  ///< with kEndsRun; of a node that was given back: the one given back before it
    NodeIndex previous;
    alignas(Element) std::byte element[sizeof(Element)];
  };
  static constexpr NodeIndex kEndsRun = NodeIndex{1} << 31;
  struct Free {
    void operator()(Node* nodes) const noexcept { std::free(nodes); }
  };

  // The C library's memory, because it alone can grow in place: the pages of a large array, most of them not
  // touched yet, then need not be taken twice. Not inline: compilers make another call of it where they see that
  // the array is new, and tests with failing memory look for this one.
  [[gnu::noinline]] void reallocate(NodeIndex capacity) {
    void* const memory = std::realloc(nodes_.get(), (std::size_t{capacity} + 1) * sizeof(Node));
    if (memory == nullptr) throw std::bad_alloc();
    static_cast<void>(nodes_.release());
    nodes_.reset(static_cast<Node*>(memory));
    capacity_ = capacity;
  }

  void swap(NodeChain& other) noexcept {
    std::swap(nodes_, other.nodes_);
    std::swap(capacity_, other.capacity_);
    std::swap(used_, other.used_);
    std::swap(free_, other.free_);
  }

  std::unique_ptr<Node[], Free> nodes_;  // null as long as there is no room
  NodeIndex capacity_ = 0;               // nodes with an index up to this one are there,
  NodeIndex used_ = 0;                   // and up to this one were in use at some time
  NodeIndex free_ = 0;                   // given back, the last one first
};

}  // namespace vornik

#endif  // VORNIK_STRUCTURES_NODE_CHAIN_H
