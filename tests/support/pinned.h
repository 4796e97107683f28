// The base of what stays where it was made: an object that other code points at, or that puts back what it changed.
#pragma once

namespace qvtest {

class Pinned {
 public:
  Pinned(const Pinned&) = delete;
  Pinned& operator=(const Pinned&) = delete;

 protected:
  Pinned() = default;
  ~Pinned() = default;
};

}  // namespace qvtest
