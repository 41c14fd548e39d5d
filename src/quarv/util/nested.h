#pragma once

namespace quarv {

/// Counts how many calls stand within each other: one more as long as this lives.
class Nested {
 public:
  explicit Nested(int& depth) noexcept : depth_(depth) { ++depth_; }
  ~Nested() { --depth_; }
  Nested(const Nested&) = delete;
  Nested& operator=(const Nested&) = delete;

 private:
  int& depth_;
};

}  // namespace quarv
