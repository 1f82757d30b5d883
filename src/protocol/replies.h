// Replies to commands, and to whom each belongs.
//
// Nothing in a reply but its key tells which request it answers. So the pool keeps, for each key, the copies that have
// been sent and are unanswered, in the order of sending: a reply that arrives answers the oldest of them.
//   - Its asker waits: the reply is handed over, and the asker's other copies are from now on owed to nobody.
//   - Its asker has been served: the reply is dropped.
//   - Its asker has given up (timed out, cancelled): a late reply. It answers who asks next, once for each asker that
//     has given up, or is dropped where late replies are not wanted.
//   - It was sent without waiting: the reply is for who waits without having asked, else it waits in the pool.
//   - There is no such copy: nobody asked. The reply waits in the pool, where a newer one overwrites it.
// A medium that loses nothing keeps this count exact for ever. Where a copy or its reply is lost, the replies that
// follow are taken for earlier ones, which costs a repeat each, until copies that are owed to nobody are forgotten:
// when nothing has been sent or has come for as long as nothing takes on that medium. A line that has lost so many that
// repeats no longer help makes that pause itself, a shorter one, and says so: nothing more is sent on it until nothing
// has come for a while.
//
// A reply that is taken for an earlier one may be the answer to any copy sent later. It does no harm where that has
// asked the same. So all who wait under a key at one time have asked one question: they have the floor. Who asks
// something else waits until all of them have their reply or have given up. Everybody gets the floor in the end: who
// has it and does nothing with it, as a task whose loop is stopped, loses it.
#pragma once

#include "core/bytes.h"
#include "core/errors.h"
#include "runtime/wait.h"

#include <atomic>
#include <cstdint>
#include <deque>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

namespace qvx {

// Reads the connection for a thread that waits for a reply. Any thread, one at a time.
class Reader {
 public:
  virtual ~Reader() = default;
  // False when nothing more comes on this connection, as far as this reader can tell.
  virtual bool usable() const = 0;
  // Waits until something has come, until wake() or `deadline`; reads and files it. Passes on what Ctrl-C raises.
  virtual void read(const Deadline& deadline) = 0;
  // Ends the read in progress, or else the next one. Never waits.
  virtual void wake() = 0;
  // Before the first read and after the last one of a thread's turn. Neither waits.
  virtual void begin() = 0;
  virtual void end() = 0;
};

// Any thread may call anything.
class ReplyPool {
  struct Copy;
  struct Line;

 public:
  // One who waits for a reply with `key`, or is going to. Of one thread, or one fiber.
  class Waiter {
   public:
    Waiter(ReplyPool& pool, int key);
    // One who is going to ask `question`, and to wait `timeout` seconds for the reply.
    Waiter(ReplyPool& pool, int key, ByteView question, double timeout);
    // Gives up; a reply that has come and was not taken is a late one.
    ~Waiter();
    Waiter(const Waiter&) = delete;
    Waiter& operator=(const Waiter&) = delete;

    // Waits until the question may be asked: as long as others with another one wait for their replies. False when
    // nothing can be asked any more.
    bool awaitFloor();
    // A copy of the request goes out now, on a medium where no reply takes longer than `silence`, if that is known.
    // From the first one on the waiter has its place behind the others.
    void sending(std::optional<Clock::duration> silence = {});
    // The copy announced last did not go out.
    void unsent();
    // Takes the reply as soon as it is there; nothing when `deadline` passes first, when the pool is closed, when the
    // connection has ended. On a thread, `reader` reads the connection meanwhile.
    std::optional<Bytes> wait(const Deadline& deadline, const std::shared_ptr<Reader>& reader = nullptr);
    // After a wait in vain: why no reply will come any more, because the connection on which the request was sent is
    // lost, or was ended.
    bool lost() const;
    bool ended() const;
    // After a wait that was not: whether the reply answers an earlier request whose asker had given up; true once for
    // each connection.
    bool lateForTheFirstTime();
    // Whether since the first copy was sent a reply has come with this key that was not taken for the waiter's, and
    // nothing has come for `quiet` now.
    bool passedOver(Clock::duration quiet) const;
    // Whether nothing comes any more, though so many copies are unanswered that another one would not help.
    bool farBehind() const;
    // Replies have come, but not to this request, so copies or replies have been lost: from now on nothing is sent with
    // this key until the line is dry.
    void dryLine();
    // Before each copy: waits while the line is to run dry, and then forgets what is unanswered. False when nothing
    // need or can be sent any more, or `deadline` has passed.
    bool holdBack(const Deadline& deadline);
    bool isHeldBack() const { return line_->drying; }
    // Whether that has forgotten something; true once.
    bool hasForgotten() { return std::exchange(forgotten_, false); }

   private:
    friend class ReplyPool;
    enum class End : std::uint8_t { None, Ended, Lost };
    QVX_UNCHECKED Waiter(ReplyPool& pool, int key, std::optional<ByteView> question, double timeout, const Lock& lock);
    void queue() QVX_REQUIRES(pool_.mutex_);
    void giveFloor() QVX_REQUIRES(pool_.mutex_);
    void leaveFloor() QVX_REQUIRES(pool_.mutex_);
    bool over() const QVX_REQUIRES(pool_.mutex_);
    bool takeKept() QVX_REQUIRES(pool_.mutex_);
    void join() QVX_REQUIRES(pool_.mutex_);
    void part() QVX_REQUIRES(pool_.mutex_);
    void waitReading(Lock& lock, const Deadline& deadline, const std::shared_ptr<Reader>& reader);

    ReplyPool& pool_;
    Line* line_;
    std::shared_ptr<Copy> asked_;         // shared by all copies; null before the first
    std::list<Waiter*>::iterator place_;  // in the queue or among the waiters
    bool joined_ = false;
    const Clock::duration timeout_;
    std::thread::id thread_;              // none: a fiber
    std::optional<std::size_t> speaker_;  // its number among those who have the floor
    Clock::time_point speaks_until_;      // how long that counts
    bool queued_ = false;
    bool had_to_queue_ = false;
    Bytes question_;  // of one who had to
    End end_ = End::None;
    bool late_ = false;
    bool offered_ = false;  // the turn at reading
    bool forgotten_ = false;
    bool done_ = false;         // the reply has been taken, and nothing is left to be done
    std::uint64_t passed_ = 0;  // how many replies of the line had passed everybody by before the first copy
    std::optional<Bytes> reply_;
    Condition changed_;
  };

  // What the pool does with late replies: keeps them for who asks next, or drops them.
  void setLateReplies(bool kept);
  bool lateReplies() const;

  // A request goes out now whose reply, if there is one, nobody waits for.
  void sendingAlone(int key);
  // Files a reply that has come.
  void arrive(int key, Bytes reply);
  // Files a reply that the application has made: for the first who waits, else it is kept.
  void put(int key, Bytes reply);
  // Removes and returns the reply that is kept.
  std::optional<Bytes> take(int key);
  std::optional<Bytes> peek(int key) const;
  std::optional<Bytes> waitFor(int key, const Deadline& deadline) { return Waiter(*this, key).wait(deadline); }
  // Waits without taking anything, until `deadline`, or until the pool is closed or the connection lost.
  void waitInVain(const Deadline& deadline);
  std::vector<int> keys() const;
  std::size_t size() const;
  void clear();

  // A connection begins: what came on an earlier one is gone, except what the application has put here itself. A copy
  // that is owed to nobody is forgotten after `silence`.
  void begin(Clock::duration silence);
  // The connection is over. Whoever has sent a request on it waits no longer; after a loss nobody does.
  void end(const std::optional<Failure>& loss);
  // Why the connection was lost, until the next one.
  std::optional<Failure> loss() const;
  // Ends every wait, now and later.
  void close();
  bool closed() const { return closed_; }

 private:
  enum class Source : std::uint8_t { Device, Late, Application };
  struct Kept {
    Bytes reply;
    Source source;
  };
  struct Copy {
    Waiter* waiter = nullptr;  // none: it was served, or has given up
    bool answered = false;     // a late reply has been filed for it, or it was served
    bool alone = false;        // sent without waiting
  };
  // What goes on under one key.
  struct Line {
    std::deque<std::shared_ptr<Copy>> copies;
    std::list<Waiter*> waiters;     // who has no reply yet, in the order of coming
    std::vector<Waiter*> speakers;  // who has the floor: all of them ask `question`
    Bytes question;
    std::list<Waiter*> queue;  // of those who will ask
    std::optional<Kept> kept;
    std::atomic<bool> drying = false;  // nothing is to be sent until all has come, or nothing for a while
    std::uint64_t passed = 0;          // replies that were not for who waited
    Clock::time_point sent;            // when the latest copy was
    Clock::time_point came;            // and the latest reply
  };

  Line& lineOf(int key) QVX_REQUIRES(mutex_) { return lines_[key]; }
  // When nobody has the floor: to the first in the queue, and all who ask the same.
  void passFloor(Line& line) QVX_REQUIRES(mutex_);
  // From those who do nothing with it: who has not asked yet queues again, who should have given up has.
  void takeFloor(Line& line) QVX_REQUIRES(mutex_);
  void serve(Waiter& waiter, Bytes reply) QVX_REQUIRES(mutex_);
  // For the first who waits without having asked, else kept.
  void fileUnasked(Line& line, Bytes reply) QVX_REQUIRES(mutex_);
  void fileLate(Line& line, Bytes reply) QVX_REQUIRES(mutex_);
  void wake(Waiter& waiter) QVX_REQUIRES(mutex_);
  void offerTurn() QVX_REQUIRES(mutex_);
  template <class Visit>
  void eachWaiter(Visit visit) QVX_REQUIRES(mutex_);

  mutable Mutex mutex_;
  std::map<int, Line> lines_ QVX_GUARDED_BY(mutex_);  // lines stay where they are once made
  Condition idle_;                                    // of those who wait for no reply
  bool late_replies_ QVX_GUARDED_BY(mutex_) = true;
  bool late_told_ QVX_GUARDED_BY(mutex_) = false;
  Clock::duration silence_ QVX_GUARDED_BY(mutex_){};
  Clock::duration slowest_ QVX_GUARDED_BY(mutex_){};  // of the replies after which nothing was owed any more
  std::optional<Failure> loss_ QVX_GUARDED_BY(mutex_);
  std::atomic<bool> closed_ = false;  // set under the mutex
  // Whose turn it is to read the connection, on which thread; and who would take it over.
  Waiter* reading_ QVX_GUARDED_BY(mutex_) = nullptr;
  std::shared_ptr<Reader> reader_ QVX_GUARDED_BY(mutex_);
  std::thread::id reading_thread_ QVX_GUARDED_BY(mutex_);
  std::list<Waiter*> following_ QVX_GUARDED_BY(mutex_);
};

}  // namespace qvx
