#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <deque>
#include <string_view>
#include <vector>

#include <quarv/term/arena.h>
#include <quarv/util/large_pages.h>

namespace quarv::smtlib {

/// A symbol table with scopes: each name has a current meaning, and leaving a scope brings back the meaning
/// before. Names are found by hash without being copied; a name's text is copied once, when it is first given
/// a meaning.
template <class Meaning>
class NameTable {
 public:
  struct Name {
    std::string_view text;
    Meaning meaning{};        // value-initialised: none
    std::uint32_t mark = 0;   // for whoever wants to see whether a name was met before
    std::uint32_t index = 0;  // likewise: where the name stands in a list
  };

  /// The name, null when it has never been given a meaning.
  Name* find(std::string_view text) noexcept { return find(text, hash(text)); }

  /// The name, entered without a meaning when it is new.
  Name& enter(std::string_view text) {
    const std::uint32_t h = hash(text);
    if (Name* known = find(text, h)) return *known;
    if (4 * (names_.size() + 1) > 3 * slots_.size()) grow();
    char* copy = static_cast<char*>(text_.allocate(text.size() + 1));
    std::memcpy(copy, text.data(), text.size());
    names_.push_back({{copy, text.size()}});
    Name& name = names_.back();
    place({h, &name});
    return name;
  }

  /// Gives a name a meaning until the scope that is open now is left.
  void bind(Name& name, const Meaning& meaning) {
    trail_.push_back({&name, name.meaning});
    name.meaning = meaning;
  }

  /// What `leave` needs to come back here.
  std::size_t scope() const noexcept { return trail_.size(); }

  /// Undoes all meanings given since `scope` was asked.
  void leave(std::size_t scope) noexcept {
    while (trail_.size() > scope) {
      trail_.back().name->meaning = trail_.back().before;
      trail_.pop_back();
    }
  }

 private:
  struct Slot {
    std::uint32_t hash = 0;
    Name* name = nullptr;
  };
  struct Undo {
    Name* name;
    Meaning before;
  };

  std::size_t mask() const noexcept { return slots_.size() - 1; }

  /// Eight bytes at a time; a symbol table needs no more than a good spread.
  static std::uint32_t hash(std::string_view text) noexcept {
    constexpr std::uint64_t k = 0x9E3779B97F4A7C15u;
    std::uint64_t h = text.size();
    const char* p = text.data();
    std::size_t n = text.size();
    for (; n >= 8; n -= 8, p += 8) {
      std::uint64_t word;
      std::memcpy(&word, p, 8);
      h = ((h ^ (h >> 29)) + word) * k;
    }
    std::uint64_t rest = 0;
    for (; n != 0; --n) rest = rest << 8 | static_cast<unsigned char>(*p++);
    h = ((h ^ (h >> 29)) + rest) * k;
    return static_cast<std::uint32_t>(h >> 32);
  }

  Name* find(std::string_view text, std::uint32_t h) noexcept {
    for (std::size_t i = h & mask(); slots_[i].name != nullptr; i = (i + 1) & mask()) {
      if (slots_[i].hash == h && slots_[i].name->text == text) return slots_[i].name;
    }
    return nullptr;
  }

  void place(const Slot& slot) noexcept {
    std::size_t i = slot.hash & mask();
    while (slots_[i].name != nullptr) i = (i + 1) & mask();
    slots_[i] = slot;
  }

  void grow() {
    LargeVector<Slot> old(2 * slots_.size());
    old.swap(slots_);
    for (const Slot& slot : old) {
      if (slot.name != nullptr) place(slot);
    }
  }

  LargeVector<Slot> slots_{LargeVector<Slot>(1024)};
  std::deque<Name> names_;
  std::vector<Undo> trail_;
  Arena text_;
};

}  // namespace quarv::smtlib
