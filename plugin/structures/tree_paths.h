// What concerns several levels of the ordered tree, but not its root or the chain of its leaves.
#ifndef VORNIK_STRUCTURES_TREE_PATHS_H
#define VORNIK_STRUCTURES_TREE_PATHS_H

namespace vornik {

/// Functions on TreeNodes. None fails, allocates or asks the host.
template <typename Nodes>
struct TreePaths {
  using Node = typename Nodes::Node;
  using Inner = typename Nodes::Inner;
  using View = typename Nodes::View;

  /// Whether one of two nodes of a level comes before the other. Logarithmic.
  static bool isBefore(const Node* a, const Node* b) {
    while (a->parent != b->parent) {
      a = a->parent;
      b = b->parent;
    }
    return a->parent->indexOf(a) < a->parent->indexOf(b);
  }

  /// Whether child `at` is the first (or the last) of its level.
  static bool isOutermost(const Inner* parent, unsigned at, bool first) {
    while (at == (first ? 0 : parent->separatorCount())) {
      const Inner* const above = parent->parent;
      if (above == nullptr) return true;
      at = above->indexOf(parent);
      parent = above;
    }
    return false;
  }

  /// Puts another greatest route below `node` in place of the one that was: into the first separator on the
  /// way up, or nowhere where the node is the last of its level.
  static void renewSeparator(const Node* node, const View& greatest, unsigned index) noexcept {
    for (Inner* parent = node->parent; parent != nullptr; node = parent, parent = parent->parent) {
      const unsigned at = parent->indexOf(node);
      if (at == parent->separatorCount()) continue;
      return parent->separators().assign(parent->separatorCount(), at, greatest, index);
    }
  }

  /// Takes neighbours out of their parent, and the parent, where none is left, out of its own. Something must
  /// be left in the tree.
  static void removeChildren(Inner* parent, unsigned first, unsigned count) noexcept {
    if (count == parent->count) {
      removeChildren(parent->parent, parent->parent->indexOf(parent), 1);
      delete parent;
      return;
    }
    const View separators = parent->separators();
    const unsigned separatorCount = parent->separatorCount();
    if (first + count < parent->count) {
      separators.close(separatorCount, first, count);
    } else {
      // The child in front of them becomes the last, whose greatest is the parent's.
      renewSeparator(parent, separators, first - 1);
      separators.close(separatorCount, first - 1, count);
    }
    parent->removeChildren(first, count);
  }

  /// Destroys the inner nodes from this one down, and no leaves.
  static void destroyInner(Node* node) noexcept {
    if (node->level == 0) return;
    auto* const inner = static_cast<Inner*>(node);
    if (inner->level > 1) {
      for (unsigned i = 0; i < inner->count; ++i) destroyInner(inner->children[i]);
    }
    delete inner;
  }
};

}  // namespace vornik

#endif  // VORNIK_STRUCTURES_TREE_PATHS_H
