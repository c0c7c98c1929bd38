// Memory for the nodes of one container, taken in slabs.
#ifndef VORNIK_STRUCTURES_NODE_POOL_H
#define VORNIK_STRUCTURES_NODE_POOL_H

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace vornik {

/// Hands out uninitialised room for one Node at a time. All room goes with the pool; the nodes in it must
/// have been destroyed before.
template <typename Node>
class NodePool {
 public:
  NodePool() = default;
  NodePool(NodePool&& other) noexcept
      : slabs_(std::move(other.slabs_)),
        free_(std::exchange(other.free_, nullptr)),
        unused_(std::exchange(other.unused_, nullptr)),
        end_(std::exchange(other.end_, nullptr)) {
    other.slabs_.clear();
  }
  NodePool& operator=(NodePool&&) = delete;

  /// Makes sure that the next take() succeeds; std::bad_alloc with nothing changed. Amortised constant.
  void reserveOne() {
    if (free_ != nullptr || unused_ != end_) return;
    const std::size_t count = std::clamp(slabs_.size() * 32, std::size_t{8}, std::size_t{2048});
    std::unique_ptr<Room[]> slab(new Room[count]);
    slabs_.push_back(std::move(slab));
    unused_ = slabs_.back().get();
    end_ = unused_ + count;
  }

  /// Room that reserveOne() made sure of.
  void* take() noexcept {
    if (free_ != nullptr) return std::exchange(free_, free_->next);
    return unused_++;
  }

  void giveBack(void* room) noexcept { free_ = ::new (room) FreeRoom{free_}; }

 private:
  struct FreeRoom {
    FreeRoom* next;
  };
  struct alignas(Node) Room {
    std::byte bytes[sizeof(Node)];
  };

  std::vector<std::unique_ptr<Room[]>> slabs_;
  FreeRoom* free_ = nullptr;  // given back, the last one first
  Room* unused_ = nullptr;    // never used yet, in the newest slab
  Room* end_ = nullptr;
};

}  // namespace vornik

#endif  // VORNIK_STRUCTURES_NODE_POOL_H
