#include "protocol/replies.h"

#include "tests/cpp/protocol/fakes.h"

#include <future>
#include <map>
#include <sstream>

namespace qvx::test {
namespace {

constexpr int kKey = 7;
constexpr std::chrono::hours kNever{1};

// What happens to a pool, in words:
//   A!        A sends a copy of its request           A~   which did not go out after all
//   <1        reply 1 comes                           put9  the application inserts a 9
//   A=1  A=   what A has got by now                   A*  A/  whether it is told of as a late reply
//   A-        A gives up, or lets go of its reply     kept=1  kept=  what waits in the pool
//   begin  end  lose   of a connection                A.   A#   why A waits in vain: ended, lost
//   silence   one so long that nothing can follow     off  late replies are not wanted
struct Script {
  const char* rule;
  const char* events;
};

const std::vector<Script> kScripts{
    {"a reply answers the oldest copy", "A! B! <1 <2 B=2 A=1 kept="},
    {"a copy of who has been served is owed nothing", "A! A! <1 A=1 A- <2 kept= B! B= <3 B=3"},
    {"also when another waits already", "A! A! B! <1 <2 B= <3 A=1 B=3"},
    {"a reply that nobody has taken yet stays whose it is", "A! A! <1 B! <2 B= A=1 <3 B=3"},
    {"who gives up leaves a late reply for who asks next", "A! A- <1 kept=1 B! B=1 B* kept="},
    {"or for who waits already", "A! A- B! <1 B=1 B*"},
    {"whose own reply is then surplus", "A! A- <1 B! B=1 B- <2 kept= C! <3 C=3 C/"},
    {"one for each who gives up", "A! A! A! A- <1 <2 kept=1 B! B=1 <3 <4 kept= C! <5 C=5"},
    {"the newest, where there are several", "A! B! A- B- <1 <2 kept=2"},
    {"who gives up when it has been served leaves it, too", "A! <1 A- kept=1 B! B=1 B* <2 kept="},
    {"the first late reply of a connection is told of",
     "A! A- <1 B! B=1 B* B- <2 C! C- <3 D! D=3 D/ D- begin A! A- <4 B! B=4 B*"},
    {"where late replies are not wanted, they are dropped", "off A! A- <1 kept= B! B= <2 B=2"},
    {"also one that comes while somebody waits", "off A! A- B! <1 B= <2 B=2"},
    {"and one that had come before its asker gave up", "off A! <1 A- kept= B! B= <2 B=2"},
    {"a reply to nobody is kept, and a newer one overwrites it", "<1 <2 kept=2 B! B=2 B/ <3 kept="},
    {"but is no answer where late replies are not wanted", "off <1 kept=1 B! B= <2 B=2 kept="},
    {"a copy that did not go out is owed nothing", "A! A! A~ A- B! <1 B=1 B* B- <2 C! <3 C=3"},
    {"nor is one of who asked alone", "A! A~ A- B! <1 B=1 B/"},
    {"who only waits gets what the pool has, and is no asker", "<1 A=1 A/ B= put9 B=9 kept="},
    {"what the application inserts is for the first who waits, and answers its request", "A! B! put9 A=9 <1 B=1"},
    {"of its copies, one", "A! A! put9 A=9 <1 kept= B! <2 B=2"},
    {"else it is kept for who asks, late replies or not", "off put9 kept=9 A! A=9 A/ A- <1 kept= B! <2 B=2"},
    {"a lost copy costs who asks next a repeat, and never gives it another's reply",
     "A! A! <2 A=2 A- B! B! B! <3 B= <4 B=4 B- <5 C! C! <6 C= <7 C=7"},
    {"until nothing can follow", "A! A! <2 A=2 A- silence B! <3 B=3"},
    {"but not while somebody waits", "A! B! B- silence C! <1 A=1 <2 C=2 C*"},
    {"a connection that begins has no replies of the one before", "A! A! <1 A- B! B- begin kept= C! <2 C=2 C/"},
    {"nor unasked ones, but what the application has put", "<1 begin kept= put9 begin kept=9"},
    {"who has asked on a connection that ends is told so, others wait on", "B= A! end A= A. B= put9 B=9"},
    {"a loss ends every wait, but for the reply that has come", "A! B= C! <1 lose A=1 B= B# C= C# D! D= D#"},
    {"until the next connection", "A! lose begin A= A# B! <1 B=1"},
};

class Player {
 public:
  Player() { pool_.begin(kNever); }

  void play(const std::string& word) {
    static const std::map<std::string, void (Player::*)()> kWords{{"begin", &Player::begin},
                                                                  {"end", &Player::end},
                                                                  {"lose", &Player::lose},
                                                                  {"off", &Player::off},
                                                                  {"silence", &Player::silence}};
    if (const auto known = kWords.find(word); known != kWords.end()) {
      (this->*known->second)();
    } else if (word[0] == '<') {
      pool_.arrive(kKey, number(word.substr(1)).value());
    } else if (word.starts_with("put")) {
      pool_.put(kKey, number(word.substr(3)).value());
    } else if (word.starts_with("kept=")) {
      EXPECT_EQ(pool_.peek(kKey), number(word.substr(5)));
    } else {
      playWaiter(word);
    }
  }

 private:
  static std::optional<Bytes> number(const std::string& text) {
    return text.empty() ? std::nullopt : std::optional(Bytes{static_cast<std::uint8_t>(std::stoi(text))});
  }
  void playWaiter(const std::string& word) {
    if (word[1] == '-') {
      waiters_.erase(word[0]);
      return;
    }
    auto& waiter = waiters_.try_emplace(word[0], pool_, kKey).first->second;
    switch (word[1]) {
      case '!':
        waiter.sending();
        break;
      case '~':
        waiter.unsent();
        break;
      case '=':
        EXPECT_EQ(waiter.wait(Clock::now()), number(word.substr(2)));
        break;
      case '.':
        EXPECT_TRUE(waiter.ended() && !waiter.lost());
        break;
      case '#':
        EXPECT_TRUE(waiter.lost() && !waiter.ended());
        break;
      default:
        EXPECT_EQ(waiter.lateForTheFirstTime(), word[1] == '*');
    }
  }
  void begin() { pool_.begin(silence_); }
  void end() { pool_.end(std::nullopt); }
  void lose() { pool_.end(Failure(ErrorId::NetworkConnectionLostError)); }
  void off() { pool_.setLateReplies(false); }
  void silence() { std::this_thread::sleep_for(2 * silence_); }

  // Short enough for a test to wait for, too long for a script to be disturbed by.
  const std::chrono::milliseconds silence_{200};
  ReplyPool pool_;
  std::map<char, ReplyPool::Waiter> waiters_;
};

TEST(ReplyPool, HandsRepliesToWhomTheyBelong) {
  for (const Script& script : kScripts) {
    SCOPED_TRACE(std::string(script.rule) + ": " + script.events);
    Player player;
    if (std::string(script.events).find("silence") != std::string::npos) {
      player.play("begin");  // one whose silences end
    }
    std::istringstream words(script.events);
    for (std::string word; words >> word;) {
      SCOPED_TRACE(word);
      player.play(word);
    }
  }
}

// Five copies are lost: a repeat is taken for the first of them.
TEST(ReplyPool, ALineThatIsFarBehindRunsDryBeforeMoreIsSent) {
  ReplyPool pool;
  pool.begin(kNever);
  ReplyPool::Waiter first(pool, kKey);
  first.sending();
  pool.arrive(kKey, {1});
  EXPECT_EQ(first.wait(Clock::now()), Bytes{1});
  for (int i = 0; i < 5; ++i) {
    ReplyPool::Waiter(pool, kKey).sending();
  }
  ReplyPool::Waiter asker(pool, kKey);
  ReplyPool::Waiter other(pool, kKey);
  asker.sending();
  pool.setLateReplies(false);
  EXPECT_FALSE(asker.passedOver({}));
  pool.arrive(kKey, {2});
  EXPECT_TRUE(eventually([&] { return asker.passedOver({}) && asker.farBehind(); }));
  EXPECT_TRUE(asker.holdBack(Clock::now()));
  const auto began = Clock::now();
  asker.dryLine();
  EXPECT_FALSE(other.holdBack(Clock::now() + kGlance));
  EXPECT_TRUE(asker.holdBack(began + kPatience));
  EXPECT_GE(Clock::now() - began, std::chrono::milliseconds(1900));
  EXPECT_TRUE(asker.hasForgotten());
  EXPECT_TRUE(other.holdBack(Clock::now()));  // nothing holds it any more
  EXPECT_FALSE(other.hasForgotten());
  asker.sending();
  pool.arrive(kKey, {3});
  EXPECT_EQ(asker.wait(Clock::now()), Bytes{3});

  // A loss ends the pause, and so does the last reply that is owed.
  const auto hold = [](ReplyPool::Waiter& waiter) {
    return std::async(std::launch::async, [&] { return waiter.holdBack(Clock::now() + kPatience); });
  };
  ReplyPool::Waiter late(pool, kKey);
  late.sending();
  late.dryLine();
  auto late_held = hold(late);
  EXPECT_EQ(late_held.wait_for(kGlance), std::future_status::timeout);
  pool.arrive(kKey, {4});
  EXPECT_FALSE(late_held.get());
  EXPECT_EQ(late.wait(Clock::now()), Bytes{4});
  EXPECT_FALSE(other.isHeldBack());  // all has come
  other.sending();
  other.dryLine();
  auto held = hold(other);
  EXPECT_EQ(held.wait_for(kGlance), std::future_status::timeout);
  pool.end(Failure(ErrorId::NetworkConnectionLostError));
  EXPECT_EQ(held.wait_for(std::chrono::milliseconds(500)), std::future_status::ready);
}

// Askers on threads of their own, and what they have asked in which order.
class Askers {
 public:
  explicit Askers(ReplyPool& pool) : pool_(pool) {}

  // What it is answered; nothing when it may not ask or hears nothing.
  std::future<std::optional<Bytes>> ask(std::uint8_t question, double timeout = 10) {
    return std::async(std::launch::async, [this, question, timeout]() -> std::optional<Bytes> {
      ReplyPool::Waiter waiter(pool_, kKey, Bytes{question}, timeout);
      if (!waiter.awaitFloor()) {
        return std::nullopt;
      }
      {
        const std::lock_guard lock(mutex_);
        waiter.sending();
        asked_.push_back(question);
      }
      return waiter.wait(deadlineAfter(timeout));
    });
  }
  bool haveAsked(const Bytes& questions) {
    return eventually([&] {
      const std::lock_guard lock(mutex_);
      return asked_ == questions;
    });
  }

 private:
  ReplyPool& pool_;
  std::mutex mutex_;  // guards asked_
  Bytes asked_;
};

// Those who ask the same wait at once; nobody is passed by for ever.
TEST(ReplyPool, WhoAsksSomethingElseWaitsForTheFloor) {
  ReplyPool pool;
  pool.begin(kNever);
  Askers askers(pool);
  auto first = askers.ask(1);
  ASSERT_TRUE(askers.haveAsked({1}));
  auto same = askers.ask(1);
  ASSERT_TRUE(askers.haveAsked({1, 1}));
  auto other = askers.ask(2);
  std::this_thread::sleep_for(2 * kGlance);
  auto later = askers.ask(1);  // the same, but the other has been there before
  std::this_thread::sleep_for(2 * kGlance);
  EXPECT_TRUE(askers.haveAsked({1, 1}));
  pool.arrive(kKey, {10});
  std::this_thread::sleep_for(2 * kGlance);
  EXPECT_TRUE(askers.haveAsked({1, 1}));
  pool.arrive(kKey, {11});
  EXPECT_TRUE(askers.haveAsked({1, 1, 2}));
  pool.arrive(kKey, {12});
  EXPECT_TRUE(askers.haveAsked({1, 1, 2, 1}));
  pool.arrive(kKey, {13});
  EXPECT_EQ(first.get().value()[0] + same.get().value()[0], 21);
  EXPECT_EQ(other.get(), Bytes{12});
  EXPECT_EQ(later.get(), Bytes{13});
  auto silent = askers.ask(3, 0.2);
  ASSERT_TRUE(askers.haveAsked({1, 1, 2, 1, 3}));
  auto next = askers.ask(4);
  EXPECT_EQ(silent.get(), std::nullopt);
  EXPECT_TRUE(askers.haveAsked({1, 1, 2, 1, 3, 4}));
  auto unlucky = askers.ask(5);
  std::this_thread::sleep_for(kGlance);
  pool.end(Failure(ErrorId::NetworkConnectionLostError));
  EXPECT_EQ(next.get(), std::nullopt);
  EXPECT_EQ(unlucky.get(), std::nullopt);
}

// As a coroutine whose loop is stopped does.
TEST(ReplyPool, WhoDoesNothingWithTheFloorLosesIt) {
  ReplyPool pool;
  pool.begin(kNever);
  Askers askers(pool);
  {
    const ReplyPool::Waiter idle(pool, kKey, Bytes{1}, 10);
    auto other = askers.ask(2);
    EXPECT_TRUE(askers.haveAsked({2}));
    pool.arrive(kKey, {20});
    EXPECT_EQ(other.get(), Bytes{20});
  }
  ReplyPool::Waiter gone(pool, kKey, Bytes{1}, 0.1);
  gone.sending();  // and does not wait for the reply
  auto other = askers.ask(2);
  EXPECT_TRUE(askers.haveAsked({2, 2}));
  pool.arrive(kKey, {10});
  pool.arrive(kKey, {21});
  EXPECT_EQ(other.get(), Bytes{10});  // a late reply
  EXPECT_EQ(gone.wait(Clock::now()), std::nullopt);
  EXPECT_EQ(pool.peek(kKey), std::nullopt);
  // Who is further down on the same stack cannot give it up.
  ReplyPool::Waiter below(pool, kKey, Bytes{1}, 10);
  below.sending();
  ReplyPool::Waiter above(pool, kKey, Bytes{2}, 10);
  EXPECT_TRUE(above.awaitFloor());
  above.sending();
  pool.arrive(kKey, {11});
  pool.arrive(kKey, {22});
  EXPECT_EQ(above.wait(Clock::now()), Bytes{22});
  EXPECT_EQ(below.wait(Clock::now()), Bytes{11});
}

}  // namespace
}  // namespace qvx::test
