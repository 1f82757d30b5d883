// The two published classes of a module: one object, one state, seen by blocking callers and by coroutines. The bodies
// stand once, in `Operations`; which form runs is known to the wait alone.
#pragma once

#include <utility>

namespace qvx {

template <class Operations>
class BlockingFace : public virtual Operations {
 public:
  template <class... Args>
  explicit BlockingFace(Args&&... args) : Operations(std::forward<Args>(args)...) {}
};

template <class Operations>
class CoroutineFace : public virtual Operations {
 public:
  template <class... Args>
  explicit CoroutineFace(Args&&... args) : Operations(std::forward<Args>(args)...) {}
};

}  // namespace qvx
