#include "binding/loop.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

namespace qvx::binding {
namespace {

// Loops and their ports, and what is called on every wait. Lives as long as the process.
struct LoopTable {
  py::object running_loop = py::module_::import("asyncio").attr("_get_running_loop");
  py::object ports = py::module_::import("weakref").attr("WeakKeyDictionary")();
  py::str create_future{"create_future"};
  py::str call_later{"call_later"};
  py::str done{"done"};
  py::str callbacks{"_callbacks"};
  py::str remove_done_callback{"remove_done_callback"};
  py::str set_result{"set_result"};
  py::str run{"run"};
  py::str blocking{"_asyncio_future_blocking"};
  std::weak_ptr<LoopPort> latest;  // there is rarely more than one
};

// Not a guarded static: Python runs while it is made, and a second thread would wait for the guard with the
// interpreter's lock in its hand.
LoopTable& table() {
  static LoopTable* instance = nullptr;
  if (instance == nullptr) {
    auto* made = new LoopTable;
    if (instance == nullptr) {
      instance = made;
    } else {
      delete made;
    }
  }
  return *instance;
}

// The port that reads a source on this thread: what is posted meanwhile it fires without being told.
thread_local const LoopPort* reading = nullptr;
// The port that gives a task its turn on this thread.
thread_local const LoopPort* firing = nullptr;

class Marked {
 public:
  Marked(const LoopPort*& mark, const LoopPort& port) : mark_(mark), before_(std::exchange(mark, &port)) {}
  ~Marked() { mark_ = before_; }
  Marked(const Marked&) = delete;
  Marked& operator=(const Marked&) = delete;

 private:
  const LoopPort*& mark_;
  const LoopPort* const before_;
};

py::object checked(PyObject* object) {
  if (object == nullptr) {
    throw py::error_already_set();
  }
  return py::reinterpret_steal<py::object>(object);
}

void handleSignals() {
  if (PyErr_CheckSignals() != 0) {
    throw py::error_already_set();
  }
}

py::object runningLoop() {
  py::object loop = checked(PyObject_CallNoArgs(table().running_loop.ptr()));
  if (loop.is_none()) {
    throw std::runtime_error("no running event loop: await this coroutine inside asyncio.run(...)");
  }
  return loop;
}

}  // namespace

std::shared_ptr<LoopPort> LoopPort::current() {
  const py::object loop = runningLoop();
  if (auto latest = table().latest.lock(); latest && latest->belongsTo(loop)) {
    return latest;
  }
  const py::object known = table().ports.attr("get")(loop);
  if (!known.is_none()) {
    const auto port = *known.cast<py::capsule>().get_pointer<std::shared_ptr<LoopPort>>();
    table().latest = port;
    return port;
  }
  auto port = std::make_shared<LoopPort>();
  port->attach(loop);
  table().ports[loop] = py::capsule(new std::shared_ptr<LoopPort>(port),
                                    [](void* p) { delete static_cast<std::shared_ptr<LoopPort>*>(p); });
  table().latest = port;
  return port;
}

py::object LoopPort::loop() const {
  return py::reinterpret_borrow<py::object>(PyWeakref_GetObject(loop_.ptr()));
}

bool LoopPort::isCurrent() const {
  return firing == this || current().get() == this;
}

bool LoopPort::belongsTo(const py::object& loop) const {
  return PyWeakref_GetObject(loop_.ptr()) == loop.ptr();
}

LoopPort::LoopPort() : event_fd_(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {
  if (event_fd_ < 0) {
    throw std::system_error(errno, std::generic_category(), "eventfd");
  }
}

LoopPort::~LoopPort() {
  ::close(event_fd_);
}

// The loop keeps what it is given for as long as it lives; it must not keep the port.
void LoopPort::attach(const py::object& loop) {
  const std::weak_ptr<LoopPort> self = weak_from_this();
  fire_late_ = py::cpp_function([self](Clock::rep timer) {
    if (const auto port = self.lock()) {
      port->fireLate(timer);
    }
  });
  loop_ = checked(PyWeakref_NewRef(loop.ptr(), nullptr));
  loop.attr("add_reader")(event_fd_, py::cpp_function([self] {
                            if (const auto port = self.lock()) {
                              port->drain();
                            }
                          }));
}

void LoopPort::post(std::uint64_t ticket) {
  bool first = false;
  {
    const Lock lock(mutex_);
    first = posted_.empty();
    posted_.push_back(ticket);
  }
  if (first && reading != this) {
    const std::uint64_t one = 1;
    while (::write(event_fd_, &one, sizeof one) < 0 && errno == EINTR) {
    }
  }
}

void LoopPort::drain() {
  std::uint64_t count = 0;
  while (::read(event_fd_, &count, sizeof count) < 0 && errno == EINTR) {
  }
  fireAll();
}

// Scheduling what waits for a future is Python, where a signal handler may raise: the task would then never be woken,
// not even to be cancelled. So what has come meanwhile is handled before, and the rest is kept.
void LoopPort::fireAll() {
  std::vector<std::uint64_t> tickets;
  {
    const Lock lock(mutex_);
    tickets.swap(posted_);
  }
  auto next = tickets.begin();
  try {
    while (next != tickets.end()) {
      handleSignals();
      fire(*next++, tickets.size() == 1);
    }
  } catch (...) {
    std::for_each(next, tickets.end(), [this](std::uint64_t ticket) { post(ticket); });
    throw;
  }
}

// What waits for a future, a task as a rule, has its turn in the loop's next round, which costs a good part of what a
// reply's whole way does. What comes `alone` needs no order to be kept: it has its turn here.
void LoopPort::fire(std::uint64_t ticket, bool alone) {
  const auto entry = futures_.extract(ticket);
  if (!entry) {
    return;
  }
  const auto future = py::reinterpret_borrow<py::object>(entry.mapped());
  const LoopTable& names = table();
  if (checked(PyObject_CallMethodNoArgs(future.ptr(), names.done.ptr())).ptr() == Py_True) {
    return;
  }
  py::object waiting;  // pairs of a callback and its context
  if (alone) {
    waiting = checked(PyObject_GetAttr(future.ptr(), names.callbacks.ptr()));
    alone = PyList_CheckExact(waiting.ptr()) && PyList_GET_SIZE(waiting.ptr()) == 1;
  }
  if (!alone) {
    checked(PyObject_CallMethodOneArg(future.ptr(), names.set_result.ptr(), Py_None));
    return;
  }
  const auto pair = py::reinterpret_borrow<py::tuple>(PyList_GET_ITEM(waiting.ptr(), 0));
  const py::object callback = pair[0];
  const py::object context = pair[1];
  checked(PyObject_CallMethodOneArg(future.ptr(), names.remove_done_callback.ptr(), callback.ptr()));
  checked(PyObject_CallMethodOneArg(future.ptr(), names.set_result.ptr(), Py_None));
  const Marked on_this_thread(firing, *this);
  checked(PyObject_CallMethodObjArgs(context.ptr(), names.run.ptr(), callback.ptr(), future.ptr(), nullptr));
}

void LoopPort::watch(const std::shared_ptr<Source>& source) {
  const Lock lock(mutex_);
  bool known = false;
  std::erase_if(watched_, [&](const auto& entry) {
    const auto watched = entry.lock();
    known = known || watched == source;
    return !watched;
  });
  if (!known) {
    watched_.push_back(source);
    unwatched_.push_back(source);
  }
}

void LoopPort::startWatching() {
  std::vector<std::shared_ptr<Source>> sources;
  {
    const Lock lock(mutex_);
    sources.swap(unwatched_);
  }
  for (auto& source : sources) {
    const int fd = source->fd();
    loop().attr("add_reader")(fd, py::cpp_function([self = weak_from_this(), source = std::move(source)] {
                                if (const auto port = self.lock()) {
                                  port->read(source);
                                }
                              }));
  }
}

void LoopPort::read(const std::shared_ptr<Source>& source) {
  bool more = false;
  {
    const Marked on_this_thread(reading, *this);
    more = source->read();
  }
  if (!more) {  // before a task runs that may ask for it again
    {
      const Lock lock(mutex_);
      std::erase_if(watched_, [&](const auto& entry) { return entry.lock() == source; });
    }
    loop().attr("remove_reader")(source->fd());
  }
  fireAll();
}

py::object LoopPort::makeFuture(std::uint64_t ticket, const Deadline& deadline) {
  const LoopTable& names = table();
  py::object future = checked(PyObject_CallMethodNoArgs(loop().ptr(), names.create_future.ptr()));
  // What a future's own __await__ does before it hands itself to the task.
  if (PyObject_SetAttr(future.ptr(), names.blocking.ptr(), Py_True) != 0) {
    throw py::error_already_set();
  }
  if (deadline) {
    deadlines_.emplace(*deadline, ticket);
    setTimer();
  }
  futures_.emplace(ticket, future.ptr());
  return future;
}

void LoopPort::forget(std::uint64_t ticket, const Deadline& deadline) {
  futures_.erase(ticket);
  if (deadline) {
    deadlines_.erase({*deadline, ticket});
  }
}

void LoopPort::setTimer() {
  if (deadlines_.empty()) {
    return;
  }
  const auto earliest = deadlines_.begin()->first;
  const auto timer = earliest.time_since_epoch().count();
  if (!timers_.empty() && *timers_.begin() <= timer) {
    return;
  }
  const double seconds = std::chrono::duration<double>(earliest - Clock::now()).count();
  checked(PyObject_CallMethodObjArgs(loop().ptr(), table().call_later.ptr(), py::float_(std::max(seconds, 0.0)).ptr(),
                                     fire_late_.ptr(), py::int_(timer).ptr(), nullptr));
  timers_.insert(timer);
}

// A timer may come a little early by our clock; that is soon enough.
void LoopPort::fireLate(Clock::rep timer) {
  timers_.erase(timer);
  const auto now = std::max(Clock::now(), Clock::time_point(Clock::duration(timer)));
  try {
    while (!deadlines_.empty() && deadlines_.begin()->first <= now) {
      handleSignals();
      const auto ticket = deadlines_.begin()->second;
      deadlines_.erase(deadlines_.begin());
      fire(ticket, false);
    }
  } catch (...) {
    setTimer();
    throw;
  }
  setTimer();
}

}  // namespace qvx::binding
