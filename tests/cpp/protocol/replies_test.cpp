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

// Under one key only those who ask the same wait at once, and nobody is passed by for ever.
TEST(ReplyPool, WhoAsksSomethingElseWaitsForItsTurn) {
  ReplyPool pool;
  pool.begin(kNever);
  const Bytes one{1};
  const Bytes two{2};
  const auto asks = [&pool](const Bytes& question) {
    return std::make_unique<ReplyPool::Waiter>(pool, kKey, question);
  };
  const auto mayAsk = [](const auto& waiter) { return waiter->awaitTurn(0.05); };
  const auto first = asks(one);
  const auto same = asks(one);
  auto other = asks(two);
  const auto later = asks(one);  // the same, but the other has been there before
  const auto latest = asks(two);
  EXPECT_TRUE(mayAsk(first) && mayAsk(same));
  EXPECT_TRUE(ReplyPool::Waiter(pool, kKey + 1, two).awaitTurn(0));
  EXPECT_FALSE(mayAsk(other) || mayAsk(later) || mayAsk(latest));
  first->sending();
  same->sending();
  pool.arrive(kKey, {8});
  EXPECT_FALSE(mayAsk(other));  // one still waits
  pool.arrive(kKey, {9});
  EXPECT_TRUE(mayAsk(other) && mayAsk(latest));  // also while nobody has taken what is theirs
  EXPECT_FALSE(mayAsk(later));
  EXPECT_EQ(first->wait(Clock::now()), Bytes{8});
  pool.put(kKey, {7});
  EXPECT_EQ(other->wait(Clock::now()), Bytes{7});
  EXPECT_FALSE(mayAsk(later));
  latest->sending();
  auto turn = std::async(std::launch::async, [&] { return later->awaitTurn(10); });
  EXPECT_EQ(turn.wait_for(kGlance), std::future_status::timeout);
  pool.arrive(kKey, {6});
  EXPECT_TRUE(turn.get());
  // A loss ends the wait, and so does who gives up.
  const auto unlucky = asks(two);
  auto never = std::async(std::launch::async, [&] { return unlucky->awaitTurn(10); });
  EXPECT_EQ(never.wait_for(kGlance), std::future_status::timeout);
  pool.end(Failure(ErrorId::NetworkConnectionLostError));
  EXPECT_FALSE(never.get());
  EXPECT_TRUE(unlucky->lost());
}

// As long as replies come, the turn will, too.
TEST(ReplyPool, ATurnIsWaitedForWhileRepliesCome) {
  ReplyPool pool;
  pool.begin(kNever);
  std::vector<std::unique_ptr<ReplyPool::Waiter>> askers;
  for (int i = 0; i < 8; ++i) {
    askers.push_back(std::make_unique<ReplyPool::Waiter>(pool, kKey, Bytes{1}));
    askers.back()->sending();
  }
  ReplyPool::Waiter other(pool, kKey, Bytes{2});
  auto turn = std::async(std::launch::async, [&] { return other.awaitTurn(0.25); });
  for (std::uint8_t i = 0; i < 8; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    pool.arrive(kKey, {i});
  }
  EXPECT_TRUE(turn.get());
}

}  // namespace
}  // namespace qvx::test
