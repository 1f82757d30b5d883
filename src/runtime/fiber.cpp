#include "runtime/fiber.h"

#include "runtime/mutex.h"
#include "runtime/process.h"

#include "core/errors.h"

#include <boost/context/fiber.hpp>
#include <boost/context/stack_context.hpp>

#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <new>
#include <string>
#include <utility>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
#define QVX_ASAN 1
#elif defined(__SANITIZE_THREAD__)
#define QVX_TSAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QVX_ASAN 1
#elif __has_feature(thread_sanitizer)
#define QVX_TSAN 1
#endif
#endif

#ifdef QVX_ASAN
#include <sanitizer/common_interface_defs.h>
#endif
#ifdef QVX_TSAN
#include <sanitizer/tsan_interface.h>
#endif

namespace qvx {
namespace {

namespace ctx = boost::context;

#if defined(QVX_ASAN) || defined(QVX_TSAN)
constexpr std::size_t kStackSize = 512 * 1024;
#else
constexpr std::size_t kStackSize = 128 * 1024;
#endif
constexpr std::size_t kStacksKept = 64;
// Each is two mappings, itself and its guard page, of the 65,530 that Linux allows a process. When those run out, what
// fails next is whoever asks for memory; the rest is for the application.
constexpr std::size_t kMostStacks = 16384;

// Stacks with a guard page below, kept for reuse: mapping one costs more than a round trip on the wire is worth.
class StackPool {
 public:
  ctx::stack_context allocate() {
    {
      const Lock lock(mutex_);
      if (used_ == kMostStacks) {
        fail(ErrorId::InputDataNotInRangeError,
             "No more than " + std::to_string(kMostStacks) +
                 " coroutines may be in flight: await some of them before others are started.");
      }
      ++used_;
      if (!kept_.empty()) {
        const ctx::stack_context stack = kept_.back();
        kept_.pop_back();
        return stack;
      }
    }
    void* const base = map();
    if (base == nullptr) {
      const Lock lock(mutex_);
      --used_;
      throw std::bad_alloc();
    }
    ctx::stack_context stack;
    stack.size = kStackSize;
    stack.sp = static_cast<char*>(base) + guard_ + kStackSize;
    return stack;
  }

  void deallocate(ctx::stack_context& stack) noexcept {
    {
      const Lock lock(mutex_);
      --used_;
      if (kept_.size() < kStacksKept) {
        kept_.push_back(stack);
        return;
      }
    }
    munmap(static_cast<char*>(stack.sp) - stack.size - guard_, stack.size + guard_);
  }

 private:
  // A stack and the guard page at its lower end; nullptr when there is no memory.
  void* map() const {
    const std::size_t size = kStackSize + guard_;
    void* base = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0);
    if (base == MAP_FAILED) {
      return nullptr;
    }
    if (mprotect(base, guard_, PROT_NONE) != 0) {
      munmap(base, size);
      return nullptr;
    }
    return base;
  }

  const std::size_t guard_ = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  Mutex mutex_;
  std::size_t used_ QVX_GUARDED_BY(mutex_) = 0;
  std::vector<ctx::stack_context> kept_ QVX_GUARDED_BY(mutex_);
};

// Never destroyed: a fiber may outlive static destruction.
StackPool& stackPool() {
  static auto* pool = new StackPool;
  return *pool;
}

struct PooledStack {
  using traits_type = ctx::stack_traits;
  ctx::stack_context allocate() { return stackPool().allocate(); }
  void deallocate(ctx::stack_context& stack) noexcept { stackPool().deallocate(stack); }
};

thread_local Fiber* current_fiber = nullptr;

}  // namespace

// The switch, and all that the sanitizers must be told about it.
struct Fiber::Context {
  ctx::stack_context stack;
  ctx::fiber inner;  // the body's side, while it is suspended
  ctx::fiber outer;  // the driver's side, while the body runs
#ifdef QVX_ASAN
  void* outer_fake_stack = nullptr;
  void* inner_fake_stack = nullptr;
  const void* outer_bottom = nullptr;
  std::size_t outer_size = 0;
#endif
#ifdef QVX_TSAN
  // None in a forked child: ThreadSanitizer watches nothing on the child's thread, but would on a new fiber.
  void* inner_tsan = processGeneration() == 0 ? __tsan_create_fiber(0) : nullptr;
  void* outer_tsan = nullptr;
  ~Context() {
    if (inner_tsan != nullptr) {
      __tsan_destroy_fiber(inner_tsan);
    }
  }
  // Must not be counted among the functions entered; see beforeLeaving.
  __attribute__((no_sanitize("thread"))) void tsanIn() {
    if (inner_tsan != nullptr) {
      outer_tsan = __tsan_get_current_fiber();
      __tsan_switch_to_fiber(inner_tsan, 0);
    }
  }
  __attribute__((no_sanitize("thread"))) void tsanOut() {
    if (inner_tsan != nullptr && __tsan_get_current_fiber() != outer_tsan) {
      __tsan_switch_to_fiber(outer_tsan, 0);
    }
  }
#endif

  // Takes the first steps on the new stack, those before the body.
  template <class Body>
  void prepare(Body body) {
    PooledStack allocator;
    stack = allocator.allocate();
    const ctx::preallocated place(stack.sp, stack.size, stack);
#ifdef QVX_TSAN
    tsanIn();
#endif
    inner = ctx::fiber(std::allocator_arg, place, allocator, std::move(body));
#ifdef QVX_TSAN
    tsanOut();
#endif
  }
  void switchIn() {
#ifdef QVX_ASAN
    __sanitizer_start_switch_fiber(&outer_fake_stack, static_cast<char*>(stack.sp) - stack.size, stack.size);
#endif
#ifdef QVX_TSAN
    tsanIn();
#endif
    inner = std::move(inner).resume();
#ifdef QVX_ASAN
    __sanitizer_finish_switch_fiber(outer_fake_stack, nullptr, nullptr);
#endif
#ifdef QVX_TSAN
    tsanOut();  // if the body has ended
#endif
  }
  void arrived() {
#ifdef QVX_ASAN
    __sanitizer_finish_switch_fiber(inner_fake_stack, &outer_bottom, &outer_size);
#endif
  }
  // ThreadSanitizer counts entries into functions and exits from them by fiber, and grows without end where they don't
  // balance: what is entered on one side of its switch must return on the same. So this function must not be counted,
  // and when the body ends, the driver's side does the switch.
  __attribute__((no_sanitize("thread"))) void beforeLeaving([[maybe_unused]] bool for_good) {
#ifdef QVX_ASAN
    __sanitizer_start_switch_fiber(for_good ? nullptr : &inner_fake_stack, outer_bottom, outer_size);
#endif
#ifdef QVX_TSAN
    if (!for_good) {
      tsanOut();
    }
#endif
  }
};

Fiber::Fiber(std::shared_ptr<Scheduler> scheduler, std::function<void()> body)
    : scheduler_(std::move(scheduler)), body_(std::move(body)) {}

void Fiber::start() {
  auto context = std::make_unique<Context>();
  context->prepare([this](ctx::fiber&& outer) {
    context_->arrived();
    context_->outer = std::move(outer);
    try {
      body_();
    } catch (const FiberCancelled&) {
      // The driver asked for it and knows.
    } catch (const ctx::detail::forced_unwind&) {
      throw;
    } catch (...) {
      failure_ = std::current_exception();
    }
    finished_ = true;
    context_->beforeLeaving(true);
    return std::move(context_->outer);
  });
  context_ = std::move(context);
}

Fiber::~Fiber() {
  if (context_ && !finished_) {
    cancel();
    resume();
  }
}

Fiber* Fiber::current() {
  return current_fiber;
}

bool Fiber::resume() {
  if (!context_) {
    start();
  }
  enter();
  while (outside_call_ != nullptr) {
    const auto* call = std::exchange(outside_call_, nullptr);
    try {
      (*call)();
    } catch (...) {
      outside_failure_ = std::current_exception();
    }
    enter();
  }
  return finished_;
}

void Fiber::enter() {
  Fiber* const before = std::exchange(current_fiber, this);
  context_->switchIn();
  current_fiber = before;
}

void Fiber::leave() {
  context_->beforeLeaving(false);
  context_->outer = std::move(context_->outer).resume();
  context_->arrived();
}

std::uint64_t Fiber::newTicket() {
  static std::atomic<std::uint64_t> next{1};
  ticket_ = next.fetch_add(1, std::memory_order_relaxed);
  return ticket_;
}

void Fiber::suspend(Deadline deadline) {
  if (cancelled_) {
    throw FiberCancelled{};
  }
  deadline_ = deadline;
  leave();
  if (cancelled_) {
    throw FiberCancelled{};
  }
}

void Fiber::outside(const std::function<void()>& call) {
  Fiber* const fiber = current_fiber;
  if (fiber == nullptr) {
    call();
    return;
  }
  fiber->outside_call_ = &call;
  fiber->leave();
  if (fiber->outside_failure_) {
    std::rethrow_exception(std::exchange(fiber->outside_failure_, nullptr));
  }
}

}  // namespace qvx
