/// \file
/// Chained hash containers for scratch work that is built, cleared and built again.
///
/// A table is an array of buckets, each the head of a singly linked chain of nodes. Three choices make it fit
/// its use, small maps that are refilled thousands of times and whose values are referred to while more are
/// added:
/// - Nodes come from the table's own pool. Clearing threads them back into the pool's free list, so that
/// refilling
///   a map calls no allocator at all.
/// - A node never moves, not even when the table grows: a rehash only relinks. A reference to a mapped value
/// stays
///   valid until the entry is removed.
/// - Bucket counts are primes, so identifiers and addresses can serve as their own hash. The remainder by the
///   count is two multiplications (see `BucketCount::index`).
///
/// Iteration runs through the buckets in ascending order and through each chain from its newest entry. With
/// hashes that do not depend on addresses the order is therefore a function of the operations performed, the
/// same on every run and with every compiler.
#pragma once

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <memory>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include <quarv/util/memory_pool.h>
#include <quarv/util/primes.h>

namespace quarv::hsh {

/// The hash of a key: a function object from `const T&` to `std::uint64_t` that does not throw. It need not
/// scatter its values. Other types specialise it.
template <class T>
struct hash;

/// Pointers hash as their address.
template <class T>
struct hash<T*> {
  std::uint64_t operator()(const T* pointer) const noexcept {
    return reinterpret_cast<std::uintptr_t>(pointer);
  }
};

/// Integers hash as themselves.
template <std::integral T>
struct hash<T> {
  std::uint64_t operator()(T value) const noexcept { return static_cast<std::uint64_t>(value); }
};

/// The table under `HashMap` and `HashSet`: distinct keys, each somewhere in a `Value`.
///
/// \tparam Value   what a node stores
/// \tparam GetKey  function object from `const Value&` to `const Key&`
/// \tparam Hash    function object from `const Key&` to `std::uint64_t`, which does not throw
/// \tparam Equal   function object that compares two keys
template <class Value, class GetKey, class Key, class Hash, class Equal>
class Hashtable {
  static_assert(std::is_nothrow_invocable_r_v<std::uint64_t, const Hash&, const Key&>,
                "a hash function must not throw: a rehash half done could not be undone");

 public:
  struct Node {
    Node* next;
    Value value;
  };

  /// Forward iterator over the values; `V` is `Value` or `const Value`.
  template <class V>
  class Iterator {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = Value;
    using difference_type = std::ptrdiff_t;
    using pointer = V*;
    using reference = V&;

    Iterator() = default;
    /// A mutable iterator converts to a constant one.
    template <class U>
    requires(std::is_const_v<V>&& std::same_as<const U, V>) Iterator(const Iterator<U>& other)
    noexcept : node_(other.node_), bucket_(other.bucket_), end_(other.end_) {}

    reference operator*() const noexcept { return node_->value; }
    pointer operator->() const noexcept { return std::addressof(node_->value); }
    Iterator& operator++() noexcept {
      node_ = node_->next;
      if (node_ == nullptr) {
        ++bucket_;
        find_bucket();
      }
      return *this;
    }
    Iterator operator++(int) noexcept {
      const Iterator before = *this;
      ++*this;
      return before;
    }
    friend bool operator==(const Iterator& a, const Iterator& b) noexcept { return a.node_ == b.node_; }

   private:
    friend class Hashtable;
    template <class U>
    friend class Iterator;

    Iterator(Node* const* bucket, Node* const* end) noexcept : bucket_(bucket), end_(end) { find_bucket(); }

    void find_bucket() noexcept {
      while (bucket_ != end_ && *bucket_ == nullptr) ++bucket_;
      node_ = bucket_ != end_ ? *bucket_ : nullptr;
    }

    Node* node_ = nullptr;
    Node* const* bucket_ = nullptr;
    Node* const* end_ = nullptr;
  };

  using value_type = Value;
  using key_type = Key;
  using size_type = std::size_t;
  using const_iterator = Iterator<const Value>;

  /// An empty table with 31 buckets.
  Hashtable() : Hashtable(BucketCount::at_least(0)) {}

  /// Takes over the entries of `other`, which is left empty, without a bucket array, and usable.
  Hashtable(Hashtable&& other) noexcept
      : pool_(std::exchange(other.pool_, Pool())),
        buckets_(std::exchange(other.buckets_, {})),
        count_(std::exchange(other.count_, 0)),
        bucket_count_(std::exchange(other.bucket_count_, {})) {}

  Hashtable& operator=(Hashtable&& other) noexcept {
    if (this != &other) {
      destroy_values();
      pool_ = std::exchange(other.pool_, Pool());
      buckets_ = std::exchange(other.buckets_, {});
      count_ = std::exchange(other.count_, 0);
      bucket_count_ = std::exchange(other.bucket_count_, {});
    }
    return *this;
  }

  Hashtable(const Hashtable&) = delete;
  Hashtable& operator=(const Hashtable&) = delete;

  ~Hashtable() { destroy_values(); }

  size_type size() const noexcept { return count_; }
  bool empty() const noexcept { return count_ == 0; }
  size_type bucket_count() const noexcept { return buckets_.size(); }

  const_iterator begin() const noexcept { return iterate<const Value>(); }
  const_iterator end() const noexcept { return {}; }

  /// Whether the key has an entry.
  bool contains(const Key& key) const { return find_node(key) != nullptr; }

  /// Removes the entry of a key and returns whether there was one.
  bool erase(const Key& key) {
    if (count_ == 0) return false;
    for (Node** link = bucket_of(key); *link != nullptr; link = &(*link)->next) {
      Node* node = *link;
      if (Equal()(GetKey()(std::as_const(node->value)), key)) {
        *link = node->next;
        --count_;
        delete_Bucket(node);
        return true;
      }
    }
    return false;
  }

  /// Makes room for at least `min_buckets` buckets: nothing if the table has them, else the first of `primes`
  /// that is large enough. Nodes are relinked, in iteration order, each at the head of its new chain. \throws
  /// std::bad_alloc with the table unchanged
  void rehash(size_type min_buckets) {
    if (buckets_.size() >= min_buckets) return;
    const BucketCount& target = BucketCount::at_least(min_buckets);
    if (target.count == buckets_.size()) return;
    std::vector<Node*> old(target.count);
    old.swap(buckets_);
    bucket_count_ = target;
    for (Node* node : old) {
      while (node != nullptr) {
        Node* next = node->next;
        link(node, *bucket_of(GetKey()(std::as_const(node->value))));
        node = next;
      }
    }
  }

  /// Removes all entries. Their nodes stay in the pool for the next ones.
  /// \param release  whether to replace the bucket array by a new one of the same size
  /// \throws std::bad_alloc only if `release`, with the table unchanged
  void clear(bool release) {
    std::vector<Node*> fresh;
    if (release) fresh.resize(buckets_.size());
    if (count_ != 0) delete_chains();
    if (release) buckets_.swap(fresh);
  }

  /// A node from the pool with a copy of `value`, linked nowhere.
  /// \throws std::bad_alloc, or what the copy constructor throws; no node is lost then
  [[nodiscard]] Node* new_Bucket(const Value& value) { return make_node(value); }

  /// Destroys the value of a node that is linked nowhere, and gives the node back to the pool.
  void delete_Bucket(Node* node) noexcept {
    std::destroy_at(node);
    pool_.deallocate(node);
  }

 protected:
  using iterator = Iterator<Value>;

  template <class V>
  Iterator<V> iterate() const noexcept {
    return Iterator<V>(buckets_.data(), buckets_.data() + buckets_.size());
  }

  /// The node of a key, or null. An empty table returns without hashing.
  Node* find_node(const Key& key) const {
    return count_ == 0 ? nullptr : find_in_chain(*bucket_of(key), key);
  }

  /// The node of a key and whether it is new, with a value constructed from `args`. A table that is due to
  /// grow does so even when the key is found. \throws std::bad_alloc, or what the value's constructor throws,
  /// with the same entries as before
  template <class... Args>
  std::pair<Node*, bool> find_or_insert(const Key& key, Args&&... args) {
    if (count_ >= bucket_count_.grow_at) [[unlikely]] {
      rehash(buckets_.size() + 1);
    }
    Node*& head = *bucket_of(key);
    if (Node* found = find_in_chain(head, key)) return {found, false};
    Node* node = make_node(std::forward<Args>(args)...);
    link(node, head);
    ++count_;
    return {node, true};
  }

 private:
  /// Nodes fill whole blocks of 32 bytes, the size of a node with a pointer and two more words.
  static constexpr std::size_t kBlockSize = (sizeof(Node) + 31) / 32 * 32;
  static_assert(alignof(Node) <= alignof(std::uint64_t), "blocks are aligned to a word");
  using Pool = MemoryPool<kBlockSize, false>;

  explicit Hashtable(const BucketCount& bucket_count)
      : buckets_(bucket_count.count), bucket_count_(bucket_count) {}

  static void link(Node* node, Node*& head) noexcept {
    node->next = head;
    head = node;
  }

  Node** bucket_of(const Key& key) noexcept { return &buckets_[bucket_count_.index(Hash()(key))]; }
  Node* const* bucket_of(const Key& key) const noexcept {
    return &buckets_[bucket_count_.index(Hash()(key))];
  }

  static Node* find_in_chain(Node* node, const Key& key) {
    while (node != nullptr && !Equal()(GetKey()(std::as_const(node->value)), key)) node = node->next;
    return node;
  }

  template <class... Args>
  Node* make_node(Args&&... args) {
    struct Block {
      Pool& pool;
      void* memory;
      ~Block() {
        if (memory != nullptr) pool.deallocate(memory);
      }
    } block{pool_, pool_.allocate()};
    Node* node = ::new (block.memory) Node{nullptr, Value(std::forward<Args>(args)...)};
    block.memory = nullptr;
    return node;
  }

  /// Deletes all nodes and empties all buckets.
  void delete_chains() noexcept {
    // The chains are first moved together, without a branch: which buckets are in use is as good as random,
    // so a test in the loop that walks the chains would be mispredicted for every few buckets.
    Node** const chains = buckets_.data();
    Node** end = chains;
    for (Node* head : buckets_) {
      *end = head;
      end += head != nullptr;
    }
    for (Node** chain = chains; chain != end; ++chain) {
      Node* node = *chain;
      do {
        delete_Bucket(std::exchange(node, node->next));
      } while (node != nullptr);
    }
    std::fill(buckets_.begin(), buckets_.end(), nullptr);
    count_ = 0;
  }

  void destroy_values() noexcept {
    if constexpr (!std::is_trivially_destructible_v<Value>) {
      if (count_ == 0) return;
      for (Node* node : buckets_) {
        while (node != nullptr) std::destroy_at(std::exchange(node, node->next));
      }
    }
  }

  Pool pool_{16, 2.0F, 8192};
  std::vector<Node*> buckets_;
  size_type count_ = 0;
  BucketCount bucket_count_;
};

/// The key of a map's entry.
struct FirstOfPair {
  template <class First, class Second>
  const First& operator()(const std::pair<First, Second>& entry) const noexcept {
    return entry.first;
  }
};

/// A map with pooled nodes that never move. See the head of this file for its properties.
template <class Key, class Mapped, class Hash = hash<Key>, class Equal = std::equal_to<Key>>
class HashMap : public Hashtable<std::pair<const Key, Mapped>, FirstOfPair, Key, Hash, Equal> {
  using Table = Hashtable<std::pair<const Key, Mapped>, FirstOfPair, Key, Hash, Equal>;

 public:
  using mapped_type = Mapped;
  using iterator = typename Table::iterator;
  using typename Table::const_iterator;

  using Table::begin;
  using Table::end;
  iterator begin() noexcept { return this->template iterate<typename Table::value_type>(); }
  iterator end() noexcept { return {}; }

  /// The value of a key, or null. An empty map returns without hashing.
  Mapped* find(const Key& key) {
    auto* node = this->find_node(key);
    return node != nullptr ? std::addressof(node->value.second) : nullptr;
  }
  const Mapped* find(const Key& key) const { return const_cast<HashMap*>(this)->find(key); }

  /// The value of a key, value-initialised if it is new. The reference stays valid until the entry is
  /// removed. The map grows first when its load exceeds 0.7, whether or not the key is new. \throws
  /// std::bad_alloc, or what a constructor throws, with the same entries as before
  Mapped& operator[](const Key& key) {
    const auto [node, is_new] =
        this->find_or_insert(key, std::piecewise_construct, std::forward_as_tuple(key), std::tuple<>());
    return node->value.second;
  }

  /// The value of a key; what `make` returns if it is new. `make` may add others. \throws std::bad_alloc, or
  /// what `make` throws, without an entry for the key
  template <class Make>
  const Mapped& find_or_make(const Key& key, Make make) {
    if (const Mapped* known = find(key)) return *known;
    Mapped made = make();
    return (*this)[key] = std::move(made);
  }
};

/// A set on the same table.
template <class Key, class Hash = hash<Key>, class Equal = std::equal_to<Key>>
class HashSet : public Hashtable<Key, std::identity, Key, Hash, Equal> {
 public:
  /// Adds a key and returns whether it is new. The set grows first when its load exceeds 0.7.
  /// \throws std::bad_alloc, or what the copy constructor throws, with the same keys as before
  bool insert(const Key& key) { return this->find_or_insert(key, key).second; }
};

}  // namespace quarv::hsh
